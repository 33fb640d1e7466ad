// A request counts as done once it is queued, whether the daemon runs or not.
#include "requests.h"

#include "common/paths.h"
#include "daemon_process.h"
#include "queue_append.h"

const char *DaemonWake()
{
    switch (DaemonSignal()) {
    case DAEMON_SIGNALLED:
        return "";
    case DAEMON_NOT_RUNNING:
        return "; the daemon is not running";
    case DAEMON_NOT_PERMITTED:
        return "; only root can wake the daemon, so it waits for the next request of root";
    }
    return "";
}

int RequestsQueue(const std::vector<std::string> &lines, const Output &output)
{
    if (lines.empty())
        return TOOL_FAILED;
    std::string reason;
    size_t queued = QueueAppend(INDEX_QUEUE_PATH, lines, reason);
    if (queued > 0) {
        output.out << "queued";
        if (lines.size() > 1)
            output.out << ' ' << queued << " requests";
        output.out << DaemonWake() << '\n';
    }
    return queued == lines.size() ? TOOL_OK : Complain(output, reason);
}
