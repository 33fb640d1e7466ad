// Batches that end before their end: the work file is executed again, first of all, and nothing is lost.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "system/box.h"
#include "system/rows.h"

namespace fs = std::filesystem;

static constexpr int FOLDERS = 10;
static constexpr int FILES_A_FOLDER = 100;

static std::string FolderName(int number)
{
    return "/volume1/video/" + std::to_string(number);
}

// Rows of every cheap kind, a probe now and then, and folders that come, go and move within the batch.
static Texts LargeBatch()
{
    Texts lines;
    for (int folder = 0; folder < FOLDERS; folder++) {
        for (int i = 0; i < FILES_A_FOLDER; i++)
            FileWrite(FolderName(folder) + '/' + std::to_string(i) + ".srt", "");
        FileWrite(FolderName(folder) + "/list.m3u", "a.mp3\n");
        FileCopy(Sample("music/Various/wave.wav"), FolderName(folder) + "/wave.wav");
        lines.push_back("A:" + FolderName(folder));
    }
    lines.push_back("N:" + FolderName(1) + ":/volume1/video/never there");
    lines.push_back("A:/volume1/video/gone");
    lines.push_back("D:/volume1/video/gone");
    lines.push_back("T:playlist");
    lines.push_back("A:" + FolderName(2));
    lines.push_back("R:music");
    return lines;
}

static std::string Joined(const Texts &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

TEST(Interrupted, WorkFileIsExecutedBeforeTheQueue)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/video/b.srt", "");
    FileWrite(WORK_FILE, "a:/volume1/video/a.srt\nT:video\n");
    FileWrite(QUEUE, "a:/volume1/video/b.srt\n");
    Index({});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/b.srt"}));
}

TEST(Interrupted, WorkFileAloneIsExecuted)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite(WORK_FILE, "a:/volume1/video/a.srt\n");
    BecomeMediaServer();
    pid_t pid = DaemonStart();
    EXPECT_TRUE(BatchesWait());
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
    EXPECT_EQ(Log(), Texts());
}

TEST(Interrupted, UnreadableWorkFileIsRemovedAndNobodyIsTold)
{
    // A link to itself cannot be opened, not even by root.
    fs::create_symlink(WORK_FILE, WORK_FILE);
    FileWrite("/volume1/video/a.srt", "");
    FileWrite(QUEUE, "a:/volume1/video/a.srt\n");
    BecomeMediaServer();
    pid_t pid = DaemonStart();
    EXPECT_TRUE(BatchesWait());
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
}

TEST(Interrupted, TerminationInABatchLeavesTheWorkFile)
{
    FileWrite(QUEUE, Joined(LargeBatch()));
    pid_t pid = DaemonStart();
    while (!Exists(WORK_FILE))
        usleep(100);
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_TRUE(Exists(WORK_FILE));
    EXPECT_FALSE(Exists(PID_FILE));
}

TEST(Interrupted, KilledBatchesEndWithTheRowsOfAnUndisturbedOne)
{
    Texts lines = LargeBatch();
    double start = Clock();
    Index(lines);
    double undisturbed = Clock() - start;
    const std::string expected = MediaDump();
    ASSERT_GE(Paths("video").size(), static_cast<size_t>(FOLDERS * FILES_A_FOLDER));
    ASSERT_GE(Paths("music").size(), static_cast<size_t>(FOLDERS));

    for (int round = 0; round < 10; round++) {
        DatabasesRemove();
        FileWrite(QUEUE, Joined(lines));
        // Several kills a round, at moments spread over the whole batch.
        for (int kill_number = 0; kill_number <= round % 3; kill_number++) {
            double moment = undisturbed * (0.05 + 0.9 * ((round * 7 + kill_number * 5) % 12) / 12);
            pid_t pid = DaemonStart();
            usleep(static_cast<useconds_t>(moment * 1e6));
            EXPECT_EQ(WTERMSIG(DaemonEnd(pid, SIGKILL)), SIGKILL);
        }
        pid_t pid = DaemonStart();
        EXPECT_TRUE(BatchesWait());
        EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
        EXPECT_TRUE(MediaDump() == expected) << "round " << round;
    }
}

TEST(Interrupted, RequestsThatArriveInABatchWaitInTheQueue)
{
    BecomeMediaServer();
    FileWrite(QUEUE, Joined(LargeBatch()));
    FileWrite("/volume1/video/late.srt", "");
    pid_t pid = DaemonStart();
    while (!Exists(WORK_FILE))
        usleep(100);
    FileAppend(QUEUE, "a:/volume1/video/late.srt\n");
    EXPECT_TRUE(SignalArrived(SIGUSR1, 60));
    EXPECT_EQ(FileRead(QUEUE), "a:/volume1/video/late.srt\n");
    EXPECT_FALSE(Exists(WORK_FILE));
    EXPECT_TRUE(RowOf("video", "/volume1/video/late.srt").empty());
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);

    Index({});
    EXPECT_FALSE(RowOf("video", "/volume1/video/late.srt").empty());
}
