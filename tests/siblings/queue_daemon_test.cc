// A queue daemon as a process: pid file, signals, end.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "common/paths.h"
#include "common/queue_daemon.h"
#include "common/stop_signals.h"
#include "platform/sdk.h"
#include "support/scratch.h"

static void Note(const std::string &request)
{
    std::string path = Scratch("/served");
    WriteFile(path, ReadFile(path) + request + "\n");
}

// Works until it is told to end.
static void Linger(const std::string &request)
{
    Note(request);
    while (!WakeOrStopWait(60))
        continue;
}

static bool Within(int seconds, const std::function<bool()> &is_true)
{
    for (int i = 0; i < seconds * 100; i++) {
        if (is_true())
            return true;
        usleep(10000);
    }
    return is_true();
}

struct RunningDaemon {
    pid_t pid;

    explicit RunningDaemon(void (*serve)(const std::string &)) : pid(fork())
    {
        if (pid == 0) {
            char name[] = "daemon", foreground[] = "-f";
            char *argv[] = {name, foreground, nullptr};
            _exit(QueueDaemonRun({"daemon", THUMB_QUEUE_PATH, THUMB_DAEMON_PID_PATH, serve}, 2, argv));
        }
        EXPECT_TRUE(Within(10, [this] { return NLIBReadPidFile(THUMB_DAEMON_PID_PATH) == pid; }));
    }

    ~RunningDaemon()
    {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }

    int Terminate()
    {
        int status = -1;
        kill(pid, SIGTERM);
        EXPECT_TRUE(Within(10, [&] { return waitpid(pid, &status, WNOHANG) == pid; }));
        pid = 0;
        return status;
    }
};

TEST(QueueDaemon, ServesWhatWaitsAndWhatComes)
{
    WriteFile(THUMB_QUEUE_PATH, "/a\n/b\n/a\n");
    RunningDaemon daemon(Note);
    EXPECT_TRUE(Within(4, [] { return ReadFile(Scratch("/served")) == "/a\n/b\n"; }));
    WriteFile(THUMB_QUEUE_PATH, "/c\n");
    kill(daemon.pid, SIGUSR1);
    EXPECT_TRUE(Within(3, [] { return ReadFile(Scratch("/served")) == "/a\n/b\n/c\n"; }));
    EXPECT_EQ(daemon.Terminate(), 0);
    EXPECT_NE(access(THUMB_DAEMON_PID_PATH, F_OK), 0);
}

TEST(QueueDaemon, FindsRequestsThatNobodyAnnounced)
{
    RunningDaemon daemon(Note);
    EXPECT_TRUE(Within(3, [] { return access(THUMB_QUEUE_PATH, F_OK) == 0; }));
    WriteFile(THUMB_QUEUE_PATH, "/quiet\n");
    EXPECT_TRUE(Within(15, [] { return ReadFile(Scratch("/served")) == "/quiet\n"; }));
}

TEST(QueueDaemon, WhatItCouldNotDoGoesBackIntoTheQueue)
{
    WriteFile(THUMB_QUEUE_PATH, "/a\n/b\n");
    RunningDaemon daemon(Linger);
    EXPECT_TRUE(Within(4, [] { return ReadFile(Scratch("/served")) == "/a\n"; }));
    WriteFile(THUMB_QUEUE_PATH, "/c\n");
    EXPECT_EQ(daemon.Terminate(), 0);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "/c\n/a\n/b\n");
}

TEST(QueueDaemon, RunsOnceOnly)
{
    RunningDaemon daemon(Note);
    char name[] = "daemon", foreground[] = "-f", other[] = "-x";
    char *argv[] = {name, foreground, nullptr};
    EXPECT_EQ(QueueDaemonRun({"daemon", THUMB_QUEUE_PATH, THUMB_DAEMON_PID_PATH, Note}, 2, argv), 1);
    argv[1] = other;
    EXPECT_EQ(QueueDaemonRun({"daemon", THUMB_QUEUE_PATH, THUMB_DAEMON_PID_PATH, Note}, 2, argv), 2);
    EXPECT_EQ(NLIBReadPidFile(THUMB_DAEMON_PID_PATH), daemon.pid);
}

TEST(QueueDaemon, AStalePidFileIsNoObstacle)
{
    WriteFile(THUMB_DAEMON_PID_PATH, "999999999");
    RunningDaemon daemon(Note);
    EXPECT_EQ(NLIBReadPidFile(THUMB_DAEMON_PID_PATH), daemon.pid);
}
