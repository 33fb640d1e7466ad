// nuboindex retry: makes again what the databases missed while they could not be reached or written.
#include <unistd.h>

#include "command.h"
#include "common/paths.h"
#include "daemon_process.h"
#include "nubodb/database.h"
#include "nubodb/missed.h"
#include "requests.h"

static constexpr useconds_t LOOK_PAUSE_US = 100000;

// The requests are in the queue, then in the work file, then done; what failed again has been noted by then.
static bool IsDone()
{
    return access(INDEX_QUEUE_PATH, F_OK) != 0 && access(INDEX_QUEUE_WORK_PATH, F_OK) != 0;
}

static int DoneWait(const Output &output)
{
    output.out.flush();
    while (!IsDone()) {
        if (DaemonPid() == 0)
            return Complain(output, "the daemon is not running");
        usleep(LOOK_PAUSE_US);
    }
    size_t again = MissedCount();
    if (again > 0)
        return Complain(output, std::to_string(again) + " changes were missed again; the system log says why");
    output.out << "done\n";
    return TOOL_OK;
}

static int RetryRun(bool wait, const Output &output)
{
    size_t missed = MissedCount();
    if (missed > 0 && (!DbOpen(DB_MEDIA) || !DbOpen(DB_PHOTO)))
        return Complain(output, "a database cannot be opened; the system log says why");
    int requests = missed > 0 ? MissedQueue() : 0;
    if (requests < 0)
        return Complain(output, "the changes cannot be queued; the system log says why");
    if (requests == 0)
        output.out << "nothing was missed\n";
    else
        output.out << "queued " << requests << (requests == 1 ? " request" : " requests") << DaemonWake()
                   << '\n';
    return wait ? DoneWait(output) : TOOL_OK;
}

void RetryCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("retry", "Make again what the databases missed.");
    command->footer(
        "Changes are missed while a database cannot be reached or written. They are kept, and the next "
        "batch begins with them by itself; this asks for one now.");
    CLI::Option *wait =
        command->add_flag("-w,--wait")->description("come back when the daemon has no more work");
    command->callback([&chosen, wait] {
        chosen = [waits = wait->count() > 0](const Output &output) { return RetryRun(waits, output); };
    });
}
