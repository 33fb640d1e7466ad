// The guard over a probe child, tried on children that stall, crash, grow and exit oddly. The limits linked here
// are 51 ticks of 10 ms.
#include "video/probe_watchdog.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "common/paths.h"
#include "support/log_capture.h"
#include "support/scratch.h"
#include "video/probe_limits.h"

using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

template <typename Body>
static pid_t Child(Body body)
{
    pid_t pid = fork();
    if (pid == 0) {
        body();
        _exit(99);
    }
    return pid;
}

static double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

static bool IsGone(pid_t pid)
{
    return kill(pid, 0) != 0 && errno == ESRCH;
}

// A machine so small that every process is too large for it.
static void ShrinkMemory()
{
    WriteFile(MEMINFO_PATH, "MemFree: 1 kB\nMemTotal:    8 kB\n");
}

TEST(ProbeWatchdog, ExitStatusIsPassedOn)
{
    for (int status : {0, 1, 7, 255}) {
        pid_t pid = Child([status] { _exit(status); });
        EXPECT_EQ(MediaProbeWait(pid), status);
        EXPECT_TRUE(IsGone(pid));
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(ProbeWatchdog, EndOfTheChildIsNoticedAtOnce)
{
    double quickest = 1;
    for (int i = 0; i < 50; i++) {
        Clock::time_point start = Clock::now();
        EXPECT_EQ(MediaProbeWait(Child([] { _exit(0); })), 0);
        quickest = std::min(quickest, SecondsSince(start));
    }
    EXPECT_LT(quickest, 0.005);  // a wait that slept through its tick would take 0.01
}

TEST(ProbeWatchdog, UselessPidsAreRefused)
{
    EXPECT_EQ(MediaProbeWait(0), -1);
    EXPECT_EQ(MediaProbeWait(-1), -1);
    EXPECT_EQ(log_lines, Lines(2, "probe_watchdog:# Bad parameters."));
}

TEST(ProbeWatchdog, ProcessThatIsNoChildIsNeitherWaitedForNorKilled)
{
    EXPECT_EQ(MediaProbeWait(getppid()), -1);
    EXPECT_EQ(kill(getppid(), 0), 0);
}

TEST(ProbeWatchdog, HangingChildIsKilledAfterItsTicks)
{
    pid_t pid = Child([] {
        for (;;)
            pause();
    });
    Clock::time_point start = Clock::now();
    EXPECT_EQ(MediaProbeWait(pid), -1);
    EXPECT_GE(SecondsSince(start), 0.51);
    EXPECT_EQ(log_lines, Lines{"probe_watchdog:# Process " + std::to_string(pid) +
                               " exceeded max loop count: 51, sec: 0, nsec: 10000000."});
    EXPECT_TRUE(IsGone(pid));
}

TEST(ProbeWatchdog, FloodOfQueueSignalsDoesNotShortenTheTicks)
{
    signal(SIGUSR1, [](int) {});
    pid_t parent = getpid();
    pid_t pid = Child([parent] {
        for (int i = 0; i < 200; i++) {
            kill(parent, SIGUSR1);
            usleep(1000);
        }
        _exit(5);
    });
    EXPECT_EQ(MediaProbeWait(pid), 5);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(log_lines, Lines{});
}

TEST(ProbeWatchdog, ChildKilledByASignalIsReported)
{
    for (int signal_number : {SIGSEGV, SIGKILL, SIGTERM}) {
        log_lines.clear();
        pid_t pid = Child([signal_number] {
            signal(signal_number, SIG_DFL);
            raise(signal_number);
        });
        EXPECT_EQ(MediaProbeWait(pid), -1);
        EXPECT_EQ(log_lines, Lines{"probe_watchdog:# Process " + std::to_string(pid) + " killed by signal " +
                                   std::to_string(signal_number)});
    }
}

TEST(ProbeWatchdog, StoppedChildIsKilledWhenItsTimeIsUp)
{
    pid_t pid = Child([] { raise(SIGSTOP); });
    EXPECT_EQ(MediaProbeWait(pid), -1);
    EXPECT_TRUE(IsGone(pid));
}

TEST(ProbeWatchdog, ChildThatEatsMemoryIsKilledAtTheNextTick)
{
    ShrinkMemory();
    pid_t pid = Child([] {
        for (;;)
            pause();
    });
    Clock::time_point start = Clock::now();
    EXPECT_EQ(MediaProbeWait(pid), -1);
    EXPECT_LT(SecondsSince(start), 0.3);
    EXPECT_EQ(log_lines,
              Lines{"probe_watchdog:# Process " + std::to_string(pid) + " exceeded max memory usage."});
    EXPECT_TRUE(IsGone(pid));
}

TEST(ProbeMemory, LimitIsTheShareOfTheMachinesMemory)
{
    EXPECT_FALSE(MediaProbeMemExceeded(getpid()));
    ShrinkMemory();
    EXPECT_TRUE(MediaProbeMemExceeded(getpid()));
    EXPECT_EQ(log_lines, Lines{});
}

TEST(ProbeMemory, GuardNeverFiresWithoutItsFigures)
{
    ShrinkMemory();
    EXPECT_FALSE(MediaProbeMemExceeded(0x7fffffff));  // no such process: no message

    WriteFile(MEMINFO_PATH, "MemFree: 1 kB\nMemTotal: many kB\n");
    EXPECT_FALSE(MediaProbeMemExceeded(getpid()));
    unlink(MEMINFO_PATH);
    EXPECT_FALSE(MediaProbeMemExceeded(getpid()));
    EXPECT_EQ(log_lines, (Lines{"probe_watchdog:# Cannot get MemTotal value.",
                                "probe_watchdog:# Cannot open /proc/meminfo"}));
}

// The daemon's own limits, which its tests replace, are looked at in the real daemon.
TEST(ProbeMemory, ChildWithoutResidentMemoryIsWithinTheLimit)
{
    ShrinkMemory();
    pid_t pid = Child([] { _exit(0); });
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(MediaProbeMemExceeded(pid));  // an ended child has no VmRSS line
    waitpid(pid, nullptr, 0);
}
