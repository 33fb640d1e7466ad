#include "common/child.h"

#include <errno.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "common/stop_signals.h"

static constexpr int NICENESS = 10;  // pictures and films can wait for whoever uses the box

static void LimitSet(int resource, rlim_t value)
{
    rlimit limit = {value, value};
    (void)setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

static void ChildPrepare(const ChildLimits &limits)
{
    (void)setpgid(0, 0);
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    int ignored = nice(NICENESS);
    (void)ignored;
    LimitSet(RLIMIT_CORE, 0);
    LimitSet(RLIMIT_FSIZE, limits.file_size);
#ifndef __SANITIZE_ADDRESS__  // which maps terabytes for itself
    LimitSet(RLIMIT_AS, limits.memory);
#endif
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
}

static time_t Now()
{
    struct timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

static ChildResult ChildEnd(pid_t child, ChildResult result)
{
    (void)kill(-child, SIGKILL);
    (void)kill(child, SIGKILL);  // it may not have had the time to lead a group
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR)
        continue;
    return result;
}

static ChildResult ChildWait(pid_t child, unsigned seconds)
{
    const time_t deadline = Now() + static_cast<time_t>(seconds);
    for (;;) {
        int status = 0;
        pid_t ended = waitpid(child, &status, WNOHANG);
        if (ended == child)
            return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? CHILD_DONE : CHILD_FAILED;
        if (ended < 0 && errno != EINTR)
            return CHILD_FAILED;
        if (Now() >= deadline)
            return ChildEnd(child, CHILD_FAILED);
        if (ChildOrStopWait())
            return ChildEnd(child, CHILD_STOPPED);
    }
}

ChildResult ChildRun(const ChildLimits &limits, const std::function<int()> &work)
{
    pid_t child = fork();
    if (child < 0)
        return CHILD_FAILED;
    if (child == 0) {
        ChildPrepare(limits);
        _exit(work());
    }
    (void)setpgid(child, child);
    return ChildWait(child, limits.seconds);
}
