// A request counts as done once it is queued, whether the daemon runs or not; unless somebody waits for it.
#include "requests.h"

#include <unistd.h>

#include "common/paths.h"
#include "daemon_process.h"
#include "progress/follow.h"
#include "queue_append.h"

WaitOptions WaitOptionsDefine(CLI::App &command)
{
    return {
        command.add_flag("-w,--wait")->description("show the progress, and come back when all of it is done"),
        command.add_flag("-q,--quiet")->description("say nothing but what went wrong")};
}

RequestWish WaitOptions::Wish() const
{
    return {wait->count() > 0, quiet->count() > 0};
}

static const char *DaemonNote(DaemonSignalResult result)
{
    switch (result) {
    case DAEMON_SIGNALLED:
        return "";
    case DAEMON_NOT_RUNNING:
        return "; the daemon is not running";
    case DAEMON_NOT_PERMITTED:
        return "; only root can wake the daemon, so it waits for the next request of root";
    }
    return "";
}

const char *DaemonWake()
{
    return DaemonNote(DaemonSignal());
}

static int DoneWait(RequestWait &requests, DaemonSignalResult daemon, const RequestWish &wish,
                    const Output &output)
{
    output.out.flush();
    if (daemon != DAEMON_SIGNALLED)
        return Complain(output, std::string("queued, but there is nothing to wait for") + DaemonNote(daemon));
    return Follow({wish.is_quiet, false, &requests}, output);
}

int RequestsQueue(const std::vector<std::string> &lines, const Output &output, const RequestWish &wish)
{
    if (lines.empty())
        return TOOL_FAILED;
    std::string reason;
    int queue = -1;
    size_t queued = QueueAppend(INDEX_QUEUE_PATH, lines, reason, &queue);
    RequestWait requests(queue);
    DaemonSignalResult daemon = queued > 0 ? DaemonSignal() : DAEMON_NOT_RUNNING;
    bool is_told = !wish.is_quiet && !(wish.is_waiting && daemon != DAEMON_SIGNALLED);
    if (queued > 0 && is_told) {
        output.out << "queued";
        if (lines.size() > 1)
            output.out << ' ' << queued << " requests";
        output.out << DaemonNote(daemon) << '\n';
    }
    if (queued < lines.size())
        return Complain(output, reason);
    return wish.is_waiting ? DoneWait(requests, daemon, wish, output) : TOOL_OK;
}
