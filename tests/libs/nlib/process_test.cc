// Programs that really run, and pid files.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/sdk.h"
#include "support/scratch.h"

static std::string Script(const std::string &body)
{
    std::string path = Scratch("/script");
    WriteFile(path, "#!/bin/sh\n" + body + "\n");
    chmod(path.c_str(), 0755);
    return path;
}

TEST(Exec, GivesTheExitStatus)
{
    EXPECT_EQ(NLIBExec("/bin/true", nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(NLIBExec("/bin/sh", "-c", "exit 3", nullptr, nullptr), 3);
}

TEST(Exec, ArgumentsArriveUntouchedAndEndAtTheFirstNull)
{
    std::string out = Scratch("/out");
    std::string script = Script("printf '<%s>' \"$@\" > " + out);
    ASSERT_EQ(NLIBExec(script.c_str(), "-f", "/a b/$(x);`y`\n\xff*", "", "4"), 0);
    EXPECT_EQ(ReadFile(out), "<-f></a b/$(x);`y`\n\xff*><><4>");
    ASSERT_EQ(NLIBExec(script.c_str(), "one", nullptr, "never", "never"), 0);
    EXPECT_EQ(ReadFile(out), "<one>");
}

TEST(Exec, FailsForWhatCannotRun)
{
    WriteFile(Scratch("/plain"), "no program");
    EXPECT_EQ(NLIBExec(Scratch("/none").c_str(), nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(NLIBExec(Scratch("/plain").c_str(), nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(NLIBExec(nullptr, "a", nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(NLIBExec("true", nullptr, nullptr, nullptr, nullptr), -1);  // no search in PATH
}

TEST(Exec, AKilledProgramIsAFailure)
{
    EXPECT_EQ(NLIBExec("/bin/sh", "-c", "kill -9 $$", nullptr, nullptr), -1);
}

TEST(Exec, TheChildHasDefaultSignalsAndNoMask)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    auto old = signal(SIGUSR1, SIG_IGN);
    // Both signals end the shell only if they are neither ignored nor blocked.
    EXPECT_EQ(NLIBExec("/bin/sh", "-c", "kill -USR1 $$; exit 5", nullptr, nullptr), -1);
    EXPECT_EQ(NLIBExec("/bin/sh", "-c", "kill -TERM $$; exit 5", nullptr, nullptr), -1);
    signal(SIGUSR1, old);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

static void OnAlarm(int)
{
}

TEST(Exec, ASignalDoesNotEndTheWait)
{
    struct sigaction action = {};
    action.sa_handler = OnAlarm;  // without SA_RESTART
    sigaction(SIGALRM, &action, nullptr);
    ualarm(20000, 20000);
    EXPECT_EQ(NLIBExec("/bin/sh", "-c", "sleep 0.1; exit 4", nullptr, nullptr), 4);
    ualarm(0, 0);
    signal(SIGALRM, SIG_DFL);
}

TEST(PidFile, HoldsADecimalNumberAndNothingElse)
{
    using namespace std::string_literals;
    static const struct {
        std::string content;
        int pid;
    } cases[] = {
        {"1234\n", 1234},
        {"1", 1},
        {" 77 \r\n", 77},
        {"2147483647\n", 2147483647},
        {"2147483648\n", 0},  // no pid
        {"99999999999999999999\n", 0},
        {"", 0},
        {"\n", 0},
        {"0\n", 0},
        {"-5\n", 0},
        {"+5\n", 0},
        {"12abc\n", 0},
        {"0x10\n", 0},
        {"12 13\n", 0},
        {"12\n13\n", 0},
        {"12\0\n"s, 0},
        {std::string(5000, '1'), 0},
        {std::string(5000, ' '), 0},
    };
    for (const auto &c : cases) {
        WriteFile(Scratch("/pid"), c.content);
        EXPECT_EQ(NLIBReadPidFile(Scratch("/pid").c_str()), c.pid) << c.content;
    }
}

TEST(PidFile, WhatCannotBeReadIsNoPid)
{
    EXPECT_LE(NLIBReadPidFile(Scratch("/none").c_str()), 0);
    EXPECT_LE(NLIBReadPidFile(Scratch("/etc").c_str()), 0);
    EXPECT_LE(NLIBReadPidFile(nullptr), 0);
    ASSERT_EQ(mkfifo(Scratch("/fifo").c_str(), 0600), 0);
    EXPECT_LE(NLIBReadPidFile(Scratch("/fifo").c_str()), 0);  // and it does not wait for a writer
}
