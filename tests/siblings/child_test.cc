// Children that crash, grow and hang.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "common/child.h"
#include "common/stop_signals.h"

static constexpr ChildLimits LIMITS = {20, 1u << 30, 1 << 20};

struct Child : testing::Test {
    void SetUp() override
    {
        StopSignalsHold();
    }
};

TEST_F(Child, ItsResultComesBack)
{
    EXPECT_EQ(ChildRun(LIMITS, [] { return 0; }), CHILD_DONE);
    EXPECT_EQ(ChildRun(LIMITS, [] { return 3; }), CHILD_FAILED);
    EXPECT_EQ(ChildRun(LIMITS, [] { return raise(SIGKILL); }), CHILD_FAILED);
}

TEST_F(Child, OneThatHangsIsKilledWithAllThatItStarted)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    time_t before = time(nullptr);
    EXPECT_EQ(ChildRun({1, LIMITS.memory, LIMITS.file_size},
                       [&ends] {
                           (void)fork();
                           return static_cast<int>(sleep(60)) + ends[0];
                       }),
              CHILD_FAILED);
    close(ends[1]);
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);  // nobody holds the other end any more
    close(ends[0]);
    EXPECT_LT(time(nullptr) - before, 10);
}

TEST_F(Child, WritesNoMoreThanItMay)
{
    char name[] = "/tmp/nubo-child-XXXXXX";
    int fd = mkstemp(name);
    unlink(name);
    EXPECT_EQ(ChildRun({20, LIMITS.memory, 4}, [fd] { return write(fd, "12345678", 8) == 8 ? 0 : 1; }),
              CHILD_FAILED);
    EXPECT_EQ(lseek(fd, 0, SEEK_END), 4);
    close(fd);
}

TEST_F(Child, TheEndKillsItAtOnce)
{
    time_t before = time(nullptr);
    pid_t self = getpid();
    EXPECT_EQ(ChildRun(LIMITS,
                       [self] {
                           kill(self, SIGTERM);
                           return static_cast<int>(sleep(60));
                       }),
              CHILD_STOPPED);
    EXPECT_LT(time(nullptr) - before, 10);
    EXPECT_TRUE(IsStopWanted());
}
