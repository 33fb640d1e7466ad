#include "common/queue_daemon.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <vector>

#include "common/request_queue.h"
#include "common/stop_signals.h"
#include "platform/sdk.h"

// A folder's request wakes the video daemon only, though the thumbnail daemon has one too. So the queues are looked
// at without a signal as well.
static constexpr int LOOK_SECONDS = 5;

static bool IsRunning(const char *pid_path)
{
    int pid = NLIBReadPidFile(pid_path);
    return pid > 0 && pid != getpid() && (kill(pid, 0) == 0 || errno == EPERM);
}

static int PidFileWrite(const char *pid_path)
{
    FILE *file = fopen(pid_path, "w");
    if (!file)
        return -1;
    int written = fprintf(file, "%d\n", static_cast<int>(getpid()));
    return fclose(file) == 0 && written > 0 ? 0 : -1;
}

static void RequestsServe(const QueueDaemon &daemon)
{
    std::vector<std::string> requests;
    if (RequestsTake(daemon.queue_path, requests) < 0)
        syslog(LOG_ERR, "Failed to read %s: %m", daemon.queue_path);
    size_t served = 0;
    while (served < requests.size() && !IsStopWanted()) {
        daemon.request_serve(requests[served]);
        if (!IsStopWanted())
            served++;
    }
    // What was taken out but not done goes back for the next start.
    for (; served < requests.size(); served++)
        (void)RequestAppend(daemon.queue_path, requests[served]);
}

static int Serve(const QueueDaemon &daemon)
{
    StopSignalsHold();
    if (PidFileWrite(daemon.pid_path) < 0) {
        syslog(LOG_ERR, "Failed to write %s: %m", daemon.pid_path);
        return 1;
    }
    if (RequestQueueMake(daemon.queue_path) < 0)
        syslog(LOG_ERR, "Failed to make %s: %m", daemon.queue_path);
    do
        RequestsServe(daemon);
    while (!WakeOrStopWait(LOOK_SECONDS));
    (void)unlink(daemon.pid_path);
    return 0;
}

int QueueDaemonRun(const QueueDaemon &daemon_kind, int argc, char **argv)
{
    bool foreground = argc == 2 && strcmp(argv[1], "-f") == 0;
    if (argc > 1 && !foreground) {
        fprintf(stderr, "usage: %s [-f]\n", daemon_kind.name);
        return 2;
    }
    if (IsRunning(daemon_kind.pid_path)) {
        fprintf(stderr, "%s runs already\n", daemon_kind.name);
        return 1;
    }
    if (!foreground && daemon(0, 0) != 0) {
        fprintf(stderr, "%s: %s\n", daemon_kind.name, strerror(errno));
        return 1;
    }
    openlog(daemon_kind.name, LOG_PID, LOG_DAEMON);
    return Serve(daemon_kind);
}
