// Finding and waking the daemon.
#include "daemon_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include "common/paths.h"
#include "support/scratch.h"
#include "tool_run.h"

TEST(DaemonProcess, IsWokenBySigusr1)
{
    SleepingProcess daemon("nuboindexd");
    EXPECT_EQ(DaemonPid(), daemon.pid);
    EXPECT_EQ(DaemonSignal(), DAEMON_SIGNALLED);
    EXPECT_EQ(daemon.EndSignal(), SIGUSR1);
}

TEST(DaemonProcess, IsNotRunningWithoutAUsablePidFile)
{
    EXPECT_EQ(DaemonPid(), 0);
    for (const char *content : {"", "x", "0", "-1", "999999999"}) {
        WriteFile(DAEMON_PID_PATH, content);
        EXPECT_EQ(DaemonPid(), 0) << content;
        EXPECT_EQ(DaemonSignal(), DAEMON_NOT_RUNNING) << content;
    }
}

TEST(DaemonProcess, AnotherProcessWithItsOldNumberIsLeftAlone)
{
    SleepingProcess other("editor");
    EXPECT_EQ(DaemonPid(), 0);
    EXPECT_EQ(DaemonSignal(), DAEMON_NOT_RUNNING);
    EXPECT_EQ(waitpid(other.pid, nullptr, WNOHANG), 0);
}

TEST(DaemonProcess, AnEmulatedDaemonIsFoundByItsSecondWord)
{
    SleepingProcess daemon("/usr/bin/emulator /usr/sbin/nuboindexd");
    EXPECT_EQ(DaemonPid(), daemon.pid);
}
