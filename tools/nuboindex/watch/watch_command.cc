// nuboindex watch: the service that queues requests for whatever changes in the shares.
#include "command.h"
#include "watch/watcher.h"

static constexpr double QUIET_SECONDS = 2, QUIET_LEAST = 0.1, QUIET_MOST = 3600;

void WatchCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command =
        app.add_subcommand("watch", "Queue requests for what changes in the shares, until ended.");
    command->footer(
        "Without an option it watches whole file systems (fanotify) where it may, and each folder by "
        "itself (inotify) elsewhere. It first looks for what has changed since it last ran. 'nuboindex "
        "status' tells how it is doing.");
    CLI::Option *quiet = command->add_option("--quiet-time")
                             ->description("seconds without a change after which one is told (default 2)")
                             ->check(CLI::Range(QUIET_LEAST, QUIET_MOST));
    CLI::Option *fanotify = command->add_flag("--fanotify")->description("watch file systems or fail");
    CLI::Option *inotify = command->add_flag("--inotify")->description("watch folders");
    fanotify->excludes(inotify);
    CLI::Option *verbose = command->add_flag("-v,--verbose")->description("also print each request");
    command->callback([&chosen, quiet, fanotify, inotify, verbose] {
        WatchOptions options;
        options.quiet = quiet->count() ? quiet->as<double>() : QUIET_SECONDS;
        options.fanotify = inotify->count() == 0;
        options.inotify = fanotify->count() == 0;
        options.verbose = verbose->count() > 0;
        chosen = [options](const Output &output) { return WatcherRun(options, output); };
    });
}
