// Each handler only writes a flag.
#include "interrupts.h"

#include <signal.h>
#include <time.h>

#include <initializer_list>

static volatile sig_atomic_t end_signal = 0;
static volatile sig_atomic_t suspend_wanted = 0;

static void EndNote(int signal_number)
{
    end_signal = signal_number;
}

static void SuspendNote(int)
{
    suspend_wanted = 1;
}

static void ResizeNote(int)
{
}  // to be caught is all that is needed: it ends the sleep

// A signal that the caller ignores, as nohup does, stays ignored.
static void Catch(int signal_number, void (*handler)(int))
{
    struct sigaction action = {};
    if (sigaction(signal_number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = handler;
    (void)sigaction(signal_number, &action, nullptr);
}

void InterruptsCatch()
{
    end_signal = 0;
    suspend_wanted = 0;
    for (int signal_number : {SIGINT, SIGTERM, SIGHUP})
        Catch(signal_number, EndNote);
    Catch(SIGTSTP, SuspendNote);
    Catch(SIGWINCH, ResizeNote);
}

void InterruptsRelease()
{
    for (int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGWINCH})
        Catch(signal_number, SIG_DFL);
}

int EndSignal()
{
    return end_signal;
}

bool IsSuspendWanted()
{
    bool wanted = suspend_wanted != 0;
    suspend_wanted = 0;
    return wanted;
}

void Suspend()
{
    Catch(SIGTSTP, SIG_DFL);
    (void)raise(SIGTSTP);
    Catch(SIGTSTP, SuspendNote);
}

void InterruptibleSleep(double seconds)
{
    timespec time = {static_cast<time_t>(seconds),
                     static_cast<long>((seconds - static_cast<double>(static_cast<time_t>(seconds))) * 1e9)};
    (void)nanosleep(&time, nullptr);
}
