// Coming up, being there, going away.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "system/box.h"

namespace fs = std::filesystem;

static std::string ProcLink(pid_t pid, const std::string &name)
{
    return fs::read_symlink("/proc/" + std::to_string(pid) + '/' + name);
}

TEST(StartUp, WritesThePidAloneIntoThePidFile)
{
    pid_t pid = DaemonStart();
    EXPECT_EQ(FileRead(PID_FILE), std::to_string(pid));  // no line feed
    EXPECT_EQ(ProcLink(pid, "exe"), Built("bin/nuboindexd"));
    EXPECT_EQ(kill(pid, 0), 0);
}

TEST(StartUp, DetachesAndRunsBelowInteractiveWork)
{
    pid_t pid = DaemonStart();  // the priority comes before the handlers
    EXPECT_EQ(ProcLink(pid, "cwd"), "/");
    for (const char *stream : {"fd/0", "fd/1", "fd/2"})
        EXPECT_EQ(ProcLink(pid, stream), "/dev/null") << stream;
    EXPECT_EQ(getsid(pid), pid);
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(pid)), 10);
}

TEST(StartUp, IsSilentWithNothingToDo)
{
    pid_t pid = DaemonStart();
    usleep(300000);
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_EQ(Log(), Texts());
}

TEST(StartUp, HelpPrintsTheBannerAndDoesNothingElse)
{
    Finished help = ProgramRun({Built("bin/nuboindexd"), "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("nubo"), std::string::npos) << help.output;
    EXPECT_FALSE(Exists(PID_FILE));
}

TEST(StartUp, OtherArgumentsAreIgnored)
{
    Finished front = ProgramRun({Built("bin/nuboindexd"), "--help", "--help"});
    EXPECT_EQ(front.status, 0);
    EXPECT_EQ(front.output, "");
    usleep(300000);
    EXPECT_EQ(kill(DaemonPid(), 0), 0);
}

TEST(StartUp, SecondInstanceIsRefusedAndTheFirstLeftAlone)
{
    pid_t first = DaemonStart();
    Finished second = ProgramRun({Built("bin/nuboindexd")});
    EXPECT_EQ(WEXITSTATUS(second.status), 1);
    EXPECT_EQ(second.output, "Daemon alive. No need to start\n");
    EXPECT_EQ(DaemonPid(), first);
    EXPECT_EQ(DaemonEnd(first, SIGTERM), 0);
}

TEST(StartUp, StalePidFilesDoNotBlock)
{
    Finished gone = ProgramRun({"sh", "-c", "echo $$"});
    for (const std::string &content :
         {gone.output, std::string("no number"), std::string(), std::string("-1")}) {
        FileWrite(PID_FILE, content);
        pid_t pid = DaemonStart();
        EXPECT_EQ(kill(pid, 0), 0) << content;
        EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0) << content;
    }
}

TEST(StartUp, KilledDaemonLeavesItsPidFileAndTheNextOneStarts)
{
    pid_t first = DaemonStart();
    EXPECT_EQ(WTERMSIG(DaemonEnd(first, SIGKILL)), SIGKILL);
    EXPECT_EQ(DaemonPid(), first);
    EXPECT_NE(DaemonStart(), first);
}

TEST(StartUp, EndsQuietlyWhenThePidFileCannotBeWritten)
{
    fs::create_directory(PID_FILE);
    Finished front = ProgramRun({Built("bin/nuboindexd")});
    EXPECT_EQ(front.status, 0);
    usleep(500000);
    EXPECT_EQ(Log(), Texts({"lifecycle(#): Failed to create /var/run/nuboindexd.pid. (Is a directory)"}));
}

TEST(StartUp, TerminationRemovesThePidFileWithStatusZero)
{
    pid_t pid = DaemonStart();
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_FALSE(Exists(PID_FILE));
}

TEST(StartUp, ProducersMaySignalAsSoonAsThePidIsThere)
{
    for (int i = 0; i < 20; i++) {
        pid_t pid = DaemonLaunch();
        EXPECT_EQ(kill(pid, SIGUSR1), 0);
        usleep(5000);
        EXPECT_EQ(WTERMSIG(DaemonEnd(pid, SIGKILL)), SIGKILL);  // it still lives
    }
}
