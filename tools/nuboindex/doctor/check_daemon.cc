// The daemon. A queue is only read by one that was woken, so requests that grow old are a finding of their own.
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "batch_progress.h"
#include "common/paths.h"
#include "daemon_process.h"
#include "doctor/checks.h"
#include "platform/sdk.h"
#include "progress/process_files.h"
#include "quantity_text.h"

static constexpr char SUBJECT[] = "daemon";
static constexpr char SYSTEMD[] = "/run/systemd/system";  // there while systemd runs the machine

// The debounce, and some patience.
static constexpr time_t WOKEN_SECONDS = 30;

static std::string Counted(long count, const char *noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

static void DeadCheck(Findings &findings)
{
    std::string text = "the daemon is not running";
    if (NLIBReadPidFile(DAEMON_PID_PATH) > 0)
        text += " and has not ended in good order";
    long waiting = QueueLineCount(INDEX_QUEUE_PATH);
    if (access(INDEX_QUEUE_WORK_PATH, F_OK) == 0)
        text += "; its batch was interrupted";
    if (waiting > 0)
        text += "; " + Counted(waiting, "request") + (waiting == 1 ? " waits" : " wait") + " for it";
    bool has_systemd = access(SYSTEMD, F_OK) == 0;
    findings.push_back({SUBJECT, FINDING_FAULT, text,
                        has_systemd ? "systemctl start nuboindexd; journalctl -u nuboindexd tells why it ended"
                                    : "start nuboindexd; the system log tells why it ended"});
}

static void QueueCheck(int pid, Findings &findings)
{
    struct stat queue;
    if (stat(INDEX_QUEUE_PATH, &queue) != 0 || access(INDEX_QUEUE_WORK_PATH, F_OK) == 0)
        return;
    time_t age = time(nullptr) - queue.st_mtime;
    if (age < WOKEN_SECONDS)
        return;
    findings.push_back({SUBJECT, FINDING_FAULT,
                        "requests have waited for " + ClockText(static_cast<double>(age)) +
                            ", and nobody has woken the daemon",
                        "kill -USR1 " + std::to_string(pid)});
}

void DaemonCheck(Findings &findings)
{
    int pid = DaemonPid();
    if (pid == 0) {
        DeadCheck(findings);
        return;
    }
    char state = ProcessViewRead(pid).state;
    if (state == 'T' || state == 't') {
        findings.push_back(
            {SUBJECT, FINDING_FAULT, "the daemon was halted", "kill -CONT " + std::to_string(pid)});
        return;
    }
    QueueCheck(pid, findings);
}

void RightsCheck(Findings &findings)
{
    if (geteuid() != 0)
        findings.push_back({"rights", FINDING_NOTE,
                            "this user may not see what the daemon sees, which usually runs as root",
                            "run this as root"});
}
