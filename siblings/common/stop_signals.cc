#include "common/stop_signals.h"

#include <signal.h>
#include <time.h>

static volatile sig_atomic_t stop_wanted = 0;

static sigset_t SignalSet(int third)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    if (third)
        sigaddset(&set, third);
    return set;
}

static bool SignalWait(int third, int seconds)
{
    sigset_t set = SignalSet(third);
    struct timespec limit = {seconds, 0};
    int number = stop_wanted ? 0 : sigtimedwait(&set, nullptr, &limit);
    if (number == SIGTERM || number == SIGINT)
        stop_wanted = 1;
    return stop_wanted != 0;
}

void StopSignalsHold()
{
    stop_wanted = 0;
    (void)signal(SIGCHLD, SIG_DFL);  // ignored, a child would leave no result
    sigset_t set = SignalSet(SIGUSR1);
    sigaddset(&set, SIGCHLD);
    (void)sigprocmask(SIG_BLOCK, &set, nullptr);
}

bool WakeOrStopWait(int seconds)
{
    return SignalWait(SIGUSR1, seconds);
}

bool ChildOrStopWait()
{
    return SignalWait(SIGCHLD, 1);
}

bool IsStopWanted()
{
    return SignalWait(0, 0);
}
