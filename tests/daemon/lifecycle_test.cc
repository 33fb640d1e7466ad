// Start-up checks. Becoming a daemon itself is tested from outside, with the real process.
#include "daemon/lifecycle.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/main_loop.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// The id of a process that has just ended.
static pid_t DeadPid()
{
    pid_t pid = fork();
    if (pid == 0)
        _exit(0);
    waitpid(pid, nullptr, 0);
    return pid;
}

TEST(Lifecycle, AliveMeansThatThePidExists)
{
    EXPECT_FALSE(IsDaemonAlive(nullptr));
    EXPECT_FALSE(IsDaemonAlive(DAEMON_PID_PATH));  // no file
    const struct {
        std::string content;
        bool alive;
    } cases[] = {
        {std::to_string(getpid()), true},
        {std::to_string(DeadPid()), false},
        {"0", false},
        {"-1", false},
        {"", false},
        {"pid", false},
    };
    for (const auto &c : cases) {
        WriteFile(DAEMON_PID_PATH, c.content);
        EXPECT_EQ(IsDaemonAlive(DAEMON_PID_PATH), c.alive) << c.content;
    }
}

TEST(Lifecycle, SecondInstanceSaysSoAndLeavesThePidFile)
{
    WriteFile(DAEMON_PID_PATH, std::to_string(getpid()));
    testing::internal::CaptureStdout();
    int result = DaemonStart();
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Daemon alive. No need to start\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(ReadFile(DAEMON_PID_PATH), std::to_string(getpid()));
}

TEST(Lifecycle, PidFileCanBeWrittenByTheDaemonAlone)
{
    mode_t mask = umask(0);
    pid_t pid = fork();
    if (pid == 0) {
        (void)DaemonStart();
        _exit(0);
    }
    umask(mask);
    waitpid(pid, nullptr, 0);
    std::string written;
    for (int i = 0; i < 500 && written.empty(); i++) {
        usleep(10000);
        written = ReadFile(DAEMON_PID_PATH);
    }
    EXPECT_GT(atoi(written.c_str()), 1);
    struct stat status;
    ASSERT_EQ(stat(DAEMON_PID_PATH, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST(Lifecycle, SwitchesAreOnOnlyForYes)
{
    const std::string file = DEFAULT_SETTINGS_PATH;
    FeaturesRead();
    EXPECT_EQ(supportphoto, 0);
    EXPECT_EQ(supportcinehall, 0);

    platform.settings[file + " supportphoto"] = "no";
    platform.settings[file + " supportcinehall"] = "1";
    FeaturesRead();
    EXPECT_EQ(supportphoto, 0);
    EXPECT_EQ(supportcinehall, 0);

    platform.settings[file + " supportphoto"] = "yes";
    FeaturesRead();
    EXPECT_EQ(supportphoto, 1);
    EXPECT_EQ(supportcinehall, 0);

    platform.settings[file + " supportcinehall"] = "yes";
    FeaturesRead();
    EXPECT_EQ(supportcinehall, 1);
}

static Lines Truncated()
{
    Lines names;
    for (const std::string &call : platform.calls)
        if (call.rfind("NUBOTruncateTable ", 0) == 0)
            names.push_back(call.substr(18));
    return names;
}

TEST(Lifecycle, PendingWorkRunsTheWorkFileBeforeTheQueue)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "T:first\n");
    WriteFile(INDEX_QUEUE_PATH, "T:second\n");
    PendingWorkProcess();
    EXPECT_EQ(Truncated(), (Lines{"first", "second"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST(Lifecycle, PendingWorkRunsEachFileOnlyWhenItExists)
{
    PendingWorkProcess();
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});

    WriteFile(INDEX_QUEUE_PATH, "T:queue\n");
    PendingWorkProcess();
    EXPECT_EQ(Truncated(), Lines{"queue"});

    platform.calls.clear();
    WriteFile(INDEX_QUEUE_WORK_PATH, "T:work\n");
    PendingWorkProcess();
    EXPECT_EQ(Truncated(), Lines{"work"});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(Lifecycle, HandlersCountSignalsAndDieRemovesThePidFile)
{
    WriteFile(DAEMON_PID_PATH, "1");
    pid_t pid = fork();
    if (pid == 0) {
        dirty_signal_count = 0;
        if (SignalHandlersInstall() != 0)
            _exit(2);
        raise(SIGUSR1);
        raise(SIGUSR1);
        if (dirty_signal_count != 2 || dirty_pending != 1 || dirty_recent != 1)
            _exit(3);
        raise(SIGTERM);
        _exit(4);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_NE(access(DAEMON_PID_PATH, F_OK), 0);
}
