// What happens once, before the main loop.
#include "daemon/lifecycle.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/features.h"
#include "common/log.h"
#include "common/paths.h"
#include "daemon/index_queue.h"
#include "daemon/main_loop.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "lifecycle";

bool IsDaemonAlive(const char *pid_path)
{
    if (!pid_path)
        return false;
    int pid = NLIBReadPidFile(pid_path);
    return pid >= 1 && kill(pid, 0) == 0;
}

// A producer may signal as soon as it can read the pid file, before the handlers stand; until then the signal
// must wait instead of ending the process.
static void QueueSignalHold(int how)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    (void)sigprocmask(how, &signals, nullptr);
}

// The umask is 0, but who can write this file chooses the process that the producers, often root, will signal.
static FILE *PidFileCreate(void)
{
    mode_t mask = umask(022);
    FILE *pid_file = fopen(DAEMON_PID_PATH, "we");
    (void)umask(mask);
    return pid_file;
}

int DaemonStart(void)
{
    if (IsDaemonAlive(DAEMON_PID_PATH)) {
        printf("Daemon alive. No need to start\n");
        return -1;
    }
    if (daemon(0, 0) != 0) {
        LogParen(LOG_HERE, "Failed to become a daemon.(%s)", strerror(errno));
        return -1;
    }
    QueueSignalHold(SIG_BLOCK);
    FILE *pid_file = PidFileCreate();
    if (!pid_file) {
        LogCall(LOG_HERE, "Failed to create %s. (%s)", DAEMON_PID_PATH, strerror(errno));
        exit(0);  // a quiet exit
    }
    if (fprintf(pid_file, "%d", static_cast<int>(getpid())) == -1)
        LogCall(LOG_HERE, "fprintf pid failed. (%s)", strerror(errno));
    fclose(pid_file);
    return 0;
}

int SignalHandlersInstall(void)
{
    if (signal(SIGUSR1, SetDirty) == SIG_ERR) {
        LogParen(LOG_HERE, "signal(SIGUSR1, SetDirty) failed.");
        return -1;
    }
    QueueSignalHold(SIG_UNBLOCK);
    (void)signal(SIGCHLD, SIG_DFL);  // if it came ignored, no child's result could be read
    if (signal(SIGTERM, Die) == SIG_ERR) {
        LogParen(LOG_HERE, "signal(SIGTERM, Die) failed.");
        return -1;
    }
    return 0;
}

void Die(int)
{
    (void)unlink(DAEMON_PID_PATH);
    _exit(0);
}

void FeaturesRead(void)
{
    if (BlNUBOFileCheckKeyValue(DEFAULT_SETTINGS_PATH, "supportcinehall", "yes", 0))
        supportcinehall = 1;
    if (BlNUBOFileCheckKeyValue(DEFAULT_SETTINGS_PATH, "supportphoto", "yes", 0))
        supportphoto = 1;
}

static bool IsPresent(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0;
}

void PendingWorkProcess(void)
{
    if (IsPresent(INDEX_QUEUE_WORK_PATH))
        IndexQueueProcess();
    if (IsPresent(INDEX_QUEUE_PATH))
        IndexQueueProcess();
}
