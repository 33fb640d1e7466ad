// Looking on, without a terminal. A shell plays the daemon where one is needed.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/paths.h"
#include "platform/media_index.h"
#include "support/scratch.h"
#include "tool_run.h"

// Runs `script` under the daemon's name; $Q and $W are queue and work file. It ends with all that it has started.
struct ShellDaemon {
    pid_t pid = 0;

    explicit ShellDaemon(const std::string &script)
    {
        std::string text = "trap '' USR1; Q='" + std::string(INDEX_QUEUE_PATH) + "' W='" +
                           INDEX_QUEUE_WORK_PATH + "'; : >'" + Scratch("/ready") + "'; " + script;
        const char *argv[] = {"nuboindexd", "-c", text.c_str(), nullptr};
        posix_spawnattr_t own_group;
        posix_spawnattr_init(&own_group);
        posix_spawnattr_setflags(&own_group, POSIX_SPAWN_SETPGROUP);
        posix_spawn(&pid, "/bin/sh", nullptr, &own_group, const_cast<char *const *>(argv), environ);
        posix_spawnattr_destroy(&own_group);
        while (access(Scratch("/ready").c_str(), F_OK) != 0)
            usleep(1000);
        WriteFile(DAEMON_PID_PATH, std::to_string(pid));
    }
    ~ShellDaemon()
    {
        kill(-pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
};

struct FollowCommand : testing::Test {
    void SetUp() override
    {
        NUBOIndexMusicTableDirtySet(0);
    }
};

TEST_F(FollowCommand, WithoutADaemonItSaysSoAndDoesNotWait)
{
    ToolResult result = RunTool({"status", "--follow"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "nuboindex: the daemon is not running\n");

    WriteFile(INDEX_QUEUE_PATH, "a:/1\na:/2\n");
    EXPECT_EQ(RunTool({"status", "-f"}).err, "nuboindex: the daemon is not running; 2 requests wait for it\n");
    WriteFile(INDEX_QUEUE_WORK_PATH, "a:/1\n");
    EXPECT_EQ(RunTool({"status", "-f", "-k", "-q"}).err,
              "nuboindex: the daemon is not running; the interrupted batch starts over when the daemon does\n");
}

TEST_F(FollowCommand, WaitingWithoutADaemonFailsAndTheRequestIsQueued)
{
    ToolResult result = RunTool({"rebuild", "music", "--wait"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "nuboindex: queued, but there is nothing to wait for; the daemon is not running\n");
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "R:music\n");
}

TEST_F(FollowCommand, NothingToDoIsSaidUnlessItIsQuiet)
{
    ShellDaemon daemon("sleep 60");
    ToolResult result = RunTool({"status", "--follow"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Nothing to do\n");
    result = RunTool({"status", "--follow", "--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST_F(FollowCommand, WaitsUntilTheBatchIsDone)
{
    ShellDaemon daemon(
        "while ! [ -e \"$Q\" ]; do sleep 0.1; done; sleep 0.5; mv \"$Q\" \"$W\"; sleep 1; : >\"$Q\"; "
        "rm \"$W\"; sleep 60");
    ToolResult result = RunTool({"rebuild", "music", "--wait"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(access(INDEX_QUEUE_WORK_PATH, F_OK), 0);
    EXPECT_TRUE(result.out.starts_with("queued\nwaiting: 1 request waits; the daemon begins in about "))
        << result.out;
    EXPECT_NE(result.out.find("\nDone: 1 request in 0:0"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
    EXPECT_LE(std::count(result.out.begin(), result.out.end(), '\n'), 4);
}

TEST_F(FollowCommand, QuietWaitingSaysNothing)
{
    ShellDaemon daemon("while ! [ -e \"$Q\" ]; do sleep 0.1; done; mv \"$Q\" \"$W\"; rm \"$W\"; sleep 60");
    ToolResult result = RunTool({"refresh", "photo", "-w", "-q"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST_F(FollowCommand, ADaemonThatDiesInTheBatchIsAFailure)
{
    ShellDaemon daemon("while ! [ -e \"$Q\" ]; do sleep 0.1; done; mv \"$Q\" \"$W\"; sleep 0.5; exit 0");
    ToolResult result = RunTool({"rebuild", "music", "--wait", "--quiet"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "nuboindex: the daemon is not running; the interrupted batch starts over when the daemon does\n");
}

TEST_F(FollowCommand, AQueueThatIsTakenAwayIsAFailure)
{
    ShellDaemon daemon("while ! [ -e \"$Q\" ]; do sleep 0.1; done; sleep 0.3; rm \"$Q\"; sleep 60");
    ToolResult result = RunTool({"add", "--wait", "--tree", "/volume1/music"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "nuboindex: somebody else took the queue away; the requests will not be executed\n");
}
