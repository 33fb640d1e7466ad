// The watcher. One that never ran is no fault: the box may have others who tell of changes.
#include <unistd.h>

#include "common/paths.h"
#include "doctor/checks.h"
#include "watch/watch_state.h"

static constexpr char SUBJECT[] = "watcher";

// What a system's limit on watches has grown to elsewhere without harm.
static constexpr char RAISE_LIMIT[] = "sysctl fs.inotify.max_user_watches=1048576, and start the watcher anew";

static void RunningCheck(const WatchState &state, Findings &findings)
{
    if (!state.degraded.empty())
        findings.push_back({SUBJECT, FINDING_FAULT, "the index may differ from the shares: " + state.degraded,
                            "the watcher compares them by itself; if this stays: nuboindex sync"});
    if (!state.limit.empty())
        findings.push_back({SUBJECT, FINDING_FAULT, state.limit,
                            state.limit.find("max_user_watches") != std::string::npos
                                ? RAISE_LIMIT
                                : "until that is mended, tell of changes there: nuboindex sync"});
}

void WatcherCheck(Findings &findings)
{
    WatchState state;
    if (WatchStateRead(state))
        RunningCheck(state, findings);
    else if (access(WATCH_STATE_PATH, F_OK) == 0)
        findings.push_back({SUBJECT, FINDING_FAULT,
                            "the watcher has died, so nobody tells of changes in the shares",
                            access("/run/systemd/system", F_OK) == 0 ? "systemctl restart nuboindex-watch"
                                                                     : "start it again: nuboindex watch"});
}
