#include "watch/watcher.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/signalfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "common/paths.h"
#include "daemon_process.h"
#include "printable.h"
#include "watch/compare_plan.h"
#include "watch/lines.h"
#include "watch/mount_table.h"
#include "watch/notify.h"
#include "watch/queue_feed.h"
#include "watch/sight.h"
#include "watch/watch_log.h"
#include "watch/watch_state.h"
#include "watch/world.h"

static constexpr int IDLE_MILLISECONDS = 1000, BUSY_MILLISECONDS = 250;
static constexpr size_t MANY_NODES = 10000;        // that are not gone through four times a second
static constexpr int READS_AT_ONCE = 64;           // before what has settled gets its turn
static constexpr double OTHER_NAMES_SECONDS = 60;  // between two comparisons for the sake of hard links
static constexpr double SOURCE_RETRY_SECONDS = 10;
static constexpr double LIMIT_SECONDS = 600;  // between two comparisons where not everything can be watched

struct Watcher {
    WatchOptions options;
    MountTable mounts;
    std::vector<ShareSeen> shares;
    Sight sight;
    Pending pending;
    QueueFeed feed;
    ComparePlan plan;
    WatchState state;
    int state_file = -1;
    int signals = -1;
    double other_names_at = -OTHER_NAMES_SECONDS;
    bool is_other_names_due = false;
    double source_retry_at = 0;
    double limit_compared_at = 0;
    std::string source_trouble;
    std::string last_status;
};

static double Now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

static bool SourceTry(Watcher &watcher, bool is_wanted,
                      std::unique_ptr<EventSource> (*source_open)(std::string &), std::string &reason)
{
    if (!is_wanted)
        return false;
    std::string why;
    std::unique_ptr<EventSource> source = source_open(why);
    if (source && SightOpen(watcher.sight, std::move(source), watcher.shares, why))
        return true;
    reason += (reason.empty() ? "" : "; ") + why;
    return false;
}

// Watches the shares that are there, in the better way that works.
static bool SourceOpen(Watcher &watcher, double now)
{
    std::string reason;
    bool is_open = SourceTry(watcher, watcher.options.fanotify, FanotifyOpen, reason);
    if (!is_open) {
        std::string before = reason;
        is_open = SourceTry(watcher, watcher.options.inotify, InotifyOpen, reason);
        if (is_open && !before.empty() && watcher.source_trouble != before)
            WatchLog("watching folder by folder, because " + before);
        watcher.source_trouble = is_open ? before : reason;
    } else {
        watcher.source_trouble.clear();
    }
    watcher.source_retry_at = is_open ? 0 : now + SOURCE_RETRY_SECONDS;
    if (!is_open) {
        watcher.sight.source.reset();
        WatchLog("cannot watch: " + reason);
    }
    return is_open;
}

// From here on nothing is missed; what was is found by comparing.
static void Restart(Watcher &watcher, const std::string &reason, double now)
{
    WatchLog(reason);
    SourceOpen(watcher, now);
    PlanAll(watcher.plan, reason, watcher.pending.batch);
}

static void SharesCheck(Watcher &watcher, double now)
{
    std::vector<ShareSeen> shares = SharesSeen(watcher.mounts.remounts);
    if (shares == watcher.shares && (watcher.source_retry_at == 0 || now < watcher.source_retry_at))
        return;
    std::string reason = "the shares could not be watched";
    for (size_t i = 0; i < shares.size(); i++) {
        if (shares[i] == watcher.shares[i])
            continue;
        const ShareSeen &before = watcher.shares[i];
        PendingForget(watcher.pending, before.root);
        reason = "share " + shares[i].name +
                 (!shares[i].is_present ? " is absent"
                  : before.is_present   ? ", or a disk in it, is another one"
                                        : " is back");
    }
    watcher.shares = shares;
    Restart(watcher, reason, now);
}

static void EventsRead(Watcher &watcher, double now)
{
    std::vector<WatchEvent> events;
    for (int reads = 0; reads < READS_AT_ONCE && watcher.sight.source; reads++) {
        events.clear();
        watcher.sight.source->Read(events);
        for (const WatchEvent &event : events) {
            if (event.kind == WATCH_LOST) {
                Restart(watcher, event.path, now);
                return;
            }
            SightEvent(watcher.sight, event, watcher.pending, now);
        }
        if (events.empty())
            return;
    }
}

static void RequestTrace(const std::string &line)
{
    std::cerr << PrintableText(line) << std::endl;
}

static void RequestsFeed(Watcher &watcher, const std::vector<WatchRequest> &requests)
{
    for (const WatchRequest &request : requests) {
        std::string reason;
        std::optional<std::string> line = WatchLine(request, reason);
        if (line && watcher.options.verbose)
            RequestTrace(*line);
        if (line)
            watcher.feed.waiting.push_back(*line);
        else
            WatchLog("cannot be indexed: " + request.path + ": " + reason);
    }
}

static void OtherNamesPlan(Watcher &watcher, double now)
{
    if (!watcher.is_other_names_due || now - watcher.other_names_at < OTHER_NAMES_SECONDS)
        return;
    watcher.is_other_names_due = false;
    watcher.other_names_at = now;
    PlanAll(watcher.plan, "a file with several names has changed", watcher.pending.batch);
}

static void DueTell(Watcher &watcher, double now, bool is_last)
{
    PendingDue due = PendingTakeDue(watcher.pending, now, is_last);
    if (!due.requests.empty() && !(SharesSeen(watcher.mounts.remounts) == watcher.shares))
        due.requests.clear();  // what seems gone may be unmounted; it will be compared
    RequestsFeed(watcher, due.requests);
    for (const std::string &folder : due.compare)
        PlanFolder(watcher.plan, folder, watcher.pending.batch);
    watcher.is_other_names_due |= due.has_other_names;
    OtherNamesPlan(watcher, now);
    FeedPush(watcher.feed, watcher.pending.batch, now);
}

static void PlanAdvance(Watcher &watcher, double now)
{
    uint64_t executed = FeedExecuted(watcher.feed, watcher.pending.batch);
    PendingExecuted(watcher.pending, executed);
    bool is_alone = !watcher.plan.is_check && DaemonPid() == 0;  // then what is queued may wait for days
    bool is_free = watcher.feed.waiting.empty() && (executed >= watcher.plan.after_batch || is_alone);
    if (PlanStep(watcher.plan, is_free, now)) {
        FeedBegin(watcher.feed, ++watcher.pending.batch);
        PlanCheck(watcher.plan, watcher.pending.batch);
    }
}

// Is there anything that the index does not have yet?
static bool IsWorking(const Watcher &watcher)
{
    return !PendingIsEmpty(watcher.pending) || !watcher.feed.waiting.empty() || !watcher.feed.fed.empty() ||
           PlanIsBusy(watcher.plan);
}

static void StateCollect(Watcher &watcher)
{
    WatchState &state = watcher.state;
    state.source = watcher.sight.source ? watcher.sight.source->Name() : "nothing";
    state.shares.clear();
    state.absent.clear();
    for (const ShareSeen &share : watcher.shares) {
        const auto &absent = watcher.plan.absent;
        bool is_absent = std::find(absent.begin(), absent.end(), share.name) != absent.end();
        if (share.is_present)
            state.shares.push_back(share.name);
        if (is_absent || (!share.is_present && !share.root.empty()))
            state.absent.push_back(share.name);
    }
    state.is_working = IsWorking(watcher);
    state.degraded = PlanText(watcher.plan);
    if (!watcher.feed.trouble.empty())
        state.degraded = watcher.feed.trouble;
    if (!watcher.sight.source)
        state.degraded = watcher.source_trouble;
    state.limit = watcher.sight.source ? watcher.sight.source->Limit() : "";
    if (state.limit.empty() && watcher.sight.views.is_full)
        state.limit = "there are more symbolic links than can be followed";
    if (state.limit.empty())
        state.limit = watcher.sight.trouble;
}

static void LimitPlan(Watcher &watcher, double now)
{
    if (watcher.state.limit.empty() || PlanIsBusy(watcher.plan) ||
        now - watcher.limit_compared_at < LIMIT_SECONDS)
        return;
    watcher.limit_compared_at = now;
    PlanAll(watcher.plan, watcher.state.limit, watcher.pending.batch);
}

static void StateShow(Watcher &watcher)
{
    StateCollect(watcher);
    std::string status = WatchStateTextOf(watcher.state);
    if (status == watcher.last_status)
        return;
    if (!WatchStateWrite(watcher.state_file, watcher.state))
        WatchLog(std::string("cannot write ") + WATCH_STATE_PATH + ": " + strerror(errno));
    ServiceNotify("READY=1\nSTATUS=" + status);
    watcher.last_status = status;
}

static int SignalsOpen()
{
    sigset_t set;
    sigemptyset(&set);
    for (int number : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&set, number);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

// True: to be ended.
static bool Wait(Watcher &watcher)
{
    bool is_slow = !IsWorking(watcher) || watcher.pending.node_count > MANY_NODES;
    pollfd ends[] = {
        {watcher.signals, POLLIN, 0},
        {watcher.sight.source ? watcher.sight.source->Descriptor() : -1, POLLIN, 0},
        {watcher.plan.child.pid ? watcher.plan.child.output : -1, POLLIN, 0},
        {watcher.mounts.descriptor, POLLPRI, 0},
    };
    (void)poll(ends, std::size(ends), is_slow ? IDLE_MILLISECONDS : BUSY_MILLISECONDS);
    if (ends[3].revents)
        MountTableLook(watcher.mounts);
    return ends[0].revents & POLLIN;
}

static void Step(Watcher &watcher, bool is_last)
{
    double now = Now();
    SharesCheck(watcher, now);
    EventsRead(watcher, now);
    DueTell(watcher, now, is_last);
    PlanAdvance(watcher, now);
    StateShow(watcher);
    LimitPlan(watcher, now);
}

static bool Begin(Watcher &watcher, const Output &output)
{
    std::string reason;
    watcher.state_file = WatchStateOpen(reason);
    if (watcher.state_file < 0) {
        (void)Complain(output, reason);
        return false;
    }
    watcher.state.pid = getpid();
    watcher.limit_compared_at = Now();
    watcher.signals = SignalsOpen();
    watcher.pending.limits.quiet = watcher.options.quiet;
    watcher.pending.world = WorldOf(watcher.sight);
    watcher.pending.batch = 1;
    FeedBegin(watcher.feed, watcher.pending.batch);
    MountTableOpen(watcher.mounts);
    watcher.shares = SharesSeen(watcher.mounts.remounts);
    (void)WatchStateWrite(watcher.state_file, watcher.state);
    if (!SourceOpen(watcher, Now()))
        return false;
    PlanAll(watcher.plan, "it has just started", watcher.pending.batch);
    return true;
}

int WatcherRun(const WatchOptions &options, const Output &output)
{
    Watcher watcher;
    watcher.options = options;
    if (!Begin(watcher, output))
        return TOOL_FAILED;
    StateShow(watcher);
    WatchLog(WatchStateTextOf(watcher.state));
    while (!Wait(watcher))
        Step(watcher, false);
    ServiceNotify("STOPPING=1");
    PlanStop(watcher.plan);
    EventsRead(watcher, Now());
    DueTell(watcher, Now(), true);
    (void)unlink(WATCH_STATE_PATH);
    WatchLog("ended");
    return TOOL_OK;
}
