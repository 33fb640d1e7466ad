// One look after the other, from the queue to the end of the batch.
#include "follow.h"

#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <memory>
#include <optional>

#include "batch_progress.h"
#include "batch_watch.h"
#include "common/paths.h"
#include "daemon_process.h"
#include "interrupts.h"
#include "progress_text.h"
#include "screen.h"

// A daemon that is restarted is away for a moment.
static constexpr double DAEMON_AWAY_SECONDS = 3;

struct Follower {
    const FollowWish &wish;
    const Output &output;
    Screen screen;
    std::unique_ptr<BatchWatch> batch;
    BatchView view = {};
    double daemon_seen = 0;
};

static double QueueAge()
{
    struct stat queue;
    return stat(INDEX_QUEUE_PATH, &queue) == 0 ? difftime(time(nullptr), queue.st_mtime) : 0;
}

static void BatchEnd(Follower &self)
{
    self.batch->End(&self.view);
    self.batch.reset();
    self.screen.Say(SummaryLine(self.view));
}

// A restarted daemon begins the batch anew; any other change is the end of the batch.
static void BatchLook(Follower &self, const struct stat *work)
{
    if (self.batch && !(work && self.batch->IsOf(*work, self.view.daemon_pid))) {
        if (work && self.batch->IsIn(*work))
            self.batch.reset();
        else
            BatchEnd(self);
    }
    if (work && !self.batch)
        self.batch = std::make_unique<BatchWatch>(*work, self.view.daemon_pid);
    if (self.batch)
        self.batch->Look(&self.view);
}

// The queue is looked at first: what is not there any more is in the work file by then, or done.
static void Look(Follower &self)
{
    self.view.queue_lines = QueueLineCount(INDEX_QUEUE_PATH);
    self.view.queue_age = QueueAge();
    self.view.daemon_pid = DaemonPid();
    struct stat work;
    bool is_running = stat(INDEX_QUEUE_WORK_PATH, &work) == 0;
    self.view.phase = is_running ? WORK_RUNNING : self.view.queue_lines != 0 ? WORK_WAITING : WORK_NONE;
    if (self.view.daemon_pid > 0) {
        self.daemon_seen = SteadySeconds();
    } else if (is_running) {
        self.view.is_stopped = false;
        return;  // interrupted: it is shown as it was left
    }
    if (self.screen.IsShown())
        BatchLook(self, is_running ? &work : nullptr);
}

static int DaemonGone(Follower &self)
{
    self.screen.Clear();
    struct stat work;
    std::string text = "the daemon is not running";
    if (stat(INDEX_QUEUE_WORK_PATH, &work) == 0)
        text += "; the interrupted batch starts over when the daemon does";
    else if (self.view.queue_lines > 0)
        text += "; " + std::to_string(self.view.queue_lines) +
                (self.view.queue_lines == 1 ? " request waits" : " requests wait") + " for it";
    return Complain(self.output, text);
}

// Nothing while there is more to wait for.
static std::optional<int> Outcome(Follower &self)
{
    RequestState state = self.wish.wait ? self.wish.wait->State() : REQUEST_QUEUED;
    if (self.wish.wait && state == REQUEST_DONE)
        return TOOL_OK;
    if (state == REQUEST_LOST) {
        self.screen.Clear();
        return Complain(self.output, "somebody else took the queue away; the requests will not be executed");
    }
    if (SteadySeconds() - self.daemon_seen > DAEMON_AWAY_SECONDS)
        return DaemonGone(self);
    bool is_idle = !self.wish.wait && !self.wish.is_endless && self.view.phase == WORK_NONE;
    return is_idle && self.view.daemon_pid > 0 ? std::optional(TOOL_OK) : std::nullopt;
}

static void EndBySignal(Follower &self)
{
    self.screen.Clear();
    InterruptsRelease();
    (void)raise(EndSignal());
}

int Follow(const FollowWish &wish, const Output &output)
{
    Follower self = {wish, output, Screen(output, wish.is_quiet), nullptr};
    InterruptsCatch();
    std::optional<int> outcome;
    bool is_first = true;
    while (!outcome) {
        Look(self);
        // Asked before the view is shown: what is done is not shown as being done.
        outcome = Outcome(self);
        if (!outcome)
            self.screen.Show(self.view);
        else if (is_first && self.view.phase == WORK_NONE && !wish.wait && *outcome == TOOL_OK)
            self.screen.Say("Nothing to do");
        is_first = false;
        if (EndSignal())
            EndBySignal(self);
        if (IsSuspendWanted()) {
            self.screen.Clear();
            Suspend();
        }
        if (!outcome)
            InterruptibleSleep(self.screen.Interval());
    }
    if (wish.wait && *outcome == TOOL_OK && self.batch && self.batch->Holds(*wish.wait))
        BatchEnd(self);
    InterruptsRelease();
    return *outcome;
}
