// Changes that a database missed: how they are kept, and the requests that they become.
#include "nubodb/missed.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "nlib/config.h"
#include "support/scratch.h"

class Missed : public DatabaseTest
{
  protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        MissedBatchBegin();
        WriteFile(song, "");
        MakeFolder(folder);
    }

    const std::string queue = Scratch("/var/spool/nubo_indexing_queue");
    const std::string notes = Scratch("/state/missed");
    const std::string song = Scratch("/volume1/music/a.mp3");
    const std::string folder = Scratch("/volume1/music/Band");
    const std::string gone = Scratch("/volume1/music/gone.mp3");
};

static void NoteAll(const Texts &changes)
{
    for (const std::string &change : changes)
        MissedNote(change);
}

TEST_F(Missed, RequestsSayWhatIsThereByThen)
{
    NoteAll({"f" + song, "f" + folder, "s" + folder, "f" + gone, "s" + gone, "R:photo"});
    EXPECT_EQ(MissedCount(), 6u);
    EXPECT_EQ(MissedQueue(), 6);
    EXPECT_EQ(ReadFile(queue),
              "A:" + song + "\na:" + folder + "\nA:" + folder + "\nD:" + gone + "\nD:" + gone + "\nR:photo\n");
    EXPECT_EQ(MissedCount(), 0u);
    EXPECT_EQ(MissedQueue(), 0);
}

TEST_F(Missed, EachIsQueuedOnceAndThePassOverThePhotosLast)
{
    NoteAll({"R:photo", "f" + song, "f" + song, "R:photo", "f" + gone});
    EXPECT_EQ(ReadFile(notes), "R:photo\nf" + song + "\nf" + gone + "\n");
    MissedBatchBegin();
    NoteAll({"f" + song, "R:photo"});
    EXPECT_EQ(MissedQueue(), 3);
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\nD:" + gone + "\nR:photo\n");
}

// A row moved by a rename keeps its title, its rights and its number; a pass over the share would make a new one.
TEST_F(Missed, RenamesOfTheBatchComeBeforeThePassOverThePhotos)
{
    std::string there = "N:" + gone + ":" + song, away = "N:" + gone + ":" + gone + "2";
    WriteFile(queue + ".tmp", "A:" + song + "\n" + there + "\nT:photo\n" + away + "\n");
    MissedNote("R:photo");
    EXPECT_EQ(MissedQueue(), 4);
    EXPECT_EQ(ReadFile(queue), there + "\nA:" + song + "\n" + away + "\nR:photo\n");
}

TEST_F(Missed, PathThatIsNoLineIsLookedForFromTheFolderAbove)
{
    NoteAll({"f" + folder + "/two\nlines.mp3", "s" + folder + "/two\nlines/below", "f/\n"});
    EXPECT_EQ(MissedQueue(), 2);
    EXPECT_EQ(ReadFile(queue), "A:" + folder + "\nR:all\n");
}

TEST_F(Missed, AnyByteAndTheLongestPathAreKept)
{
    std::string odd = OddPath(Scratch("/volume1"), 4095);
    std::erase(odd, '\n');
    MissedNote("f" + odd);
    EXPECT_EQ(MissedQueue(), 1);
    EXPECT_EQ(ReadFile(queue), "D:" + odd + "\n");
}

TEST_F(Missed, LineTornByAPowerFailureSpoilsNoOther)
{
    WriteFile(notes, "f" + gone + "\n\nnonsense\nf" + song.substr(0, 10));
    MissedNote("f" + song);
    EXPECT_EQ(MissedQueue(), 3);
    EXPECT_EQ(ReadFile(queue), "D:" + gone + "\nD:" + song.substr(0, 10) + "\nA:" + song + "\n");
}

TEST_F(Missed, QueueThatCannotBeWrittenKeepsEverything)
{
    MakeFolder(queue);
    MissedNote("f" + song);
    EXPECT_EQ(MissedQueue(), -1);
    EXPECT_EQ(MissedQueue(), -1);
    EXPECT_EQ(MissedCount(), 1u);
    ASSERT_FALSE(syslog_lines.empty());
    EXPECT_EQ(syslog_lines[0], "nubodb: " + queue + ": Is a directory");
    ASSERT_EQ(rmdir(queue.c_str()), 0);
    MissedNote("f" + gone);
    EXPECT_EQ(MissedQueue(), 2);
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\nD:" + gone + "\n");
}

TEST_F(Missed, WhatTheStateFolderDoesNotTakeGoesIntoTheQueue)
{
    ASSERT_EQ(rmdir(Scratch("/state").c_str()), 0);
    NoteAll({"f" + song, "f" + gone});
    EXPECT_EQ(MissedCount(), 2u);
    EXPECT_EQ(syslog_lines.size(), 1u);
    MissedFlush();
    EXPECT_EQ(MissedCount(), 0u);
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\nD:" + gone + "\n");
}

TEST_F(Missed, WhatNothingTakesIsKeptInMemory)
{
    ASSERT_EQ(rmdir(Scratch("/state").c_str()), 0);
    MakeFolder(queue);
    MissedNote("f" + song);
    MissedFlush();
    EXPECT_EQ(MissedCount(), 1u);
    MakeFolder(Scratch("/state"));
    MissedFlush();
    EXPECT_EQ(ReadFile(notes), "f" + song + "\n");
}

// Many at once, while the daemon takes the queue away again and again: nobody's request is lost.
TEST_F(Missed, SeveralProcessesMayQueueWhileTheQueueIsTakenOver)
{
    static constexpr int PROCESSES = 4, CHANGES = 40;
    std::vector<pid_t> children;
    for (int i = 0; i < PROCESSES; i++) {
        children.push_back(fork());
        if (children.back() != 0)
            continue;
        int failed = 0;
        for (int change = 0; change < CHANGES; change++) {
            MissedNote("f/gone/" + std::to_string(i) + "/" + std::to_string(change));
            failed += MissedQueue() < 0;
        }
        _exit(failed > 0);
    }
    std::string requests;
    for (size_t ended = 0; ended < children.size();) {
        int status = 0;
        if (waitpid(-1, &status, WNOHANG) > 0) {
            EXPECT_EQ(status, 0);
            ended++;
        }
        if (rename(queue.c_str(), (queue + ".tmp").c_str()) == 0)
            requests += ReadFile(queue + ".tmp");
        usleep(20000);
    }
    (void)MissedQueue();
    requests += ReadFile(queue);
    for (int i = 0; i < PROCESSES; i++) {
        for (int change = 0; change < CHANGES; change++) {
            std::string line = "D:/gone/" + std::to_string(i) + "/" + std::to_string(change) + "\n";
            EXPECT_NE(requests.find(line), std::string::npos) << line;
        }
    }
}

// --- batches

static volatile sig_atomic_t signals = 0;

static void SignalCount(int)
{
    signals = signals + 1;
}

TEST_F(Missed, NextBatchBeginsWithThem)
{
    MissedNote("f" + song);
    DbBatchBegin();
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\n");
    EXPECT_EQ(DbBatchEnd(), 0);
}

// The daemon asks itself for another batch, but only for one: what fails again waits for the next that is wanted.
TEST_F(Missed, BatchThatMissedSomethingIsFollowedByAnother)
{
    signals = 0;
    auto before = signal(SIGUSR1, SignalCount);
    for (int batch = 1; batch <= 3; batch++) {
        DbBatchBegin();
        (void)unlink(queue.c_str());
        EXPECT_EQ(DbChanged(DB_MEDIA, "f" + song, -1), -1);
        EXPECT_EQ(DbBatchEnd(), 0);
        EXPECT_EQ(signals, 1);
        EXPECT_EQ(ReadFile(queue), batch == 1 ? "A:" + song + "\n" : "");
    }
    DbBatchBegin();
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\n");
    EXPECT_EQ(DbBatchEnd(), 0);
    DbBatchBegin();
    (void)DbChanged(DB_MEDIA, "f" + song, -1);
    EXPECT_EQ(DbBatchEnd(), 0);
    EXPECT_EQ(signals, 2);  // there was a good one in between
    signal(SIGUSR1, before);
}

TEST_F(Missed, ToolThatDoesNotListenForTheSignalSurvivesItsBatch)
{
    DbBatchBegin();
    (void)DbChanged(DB_MEDIA, "f" + song, -1);
    EXPECT_EQ(DbBatchEnd(), 0);
    EXPECT_EQ(ReadFile(queue), "A:" + song + "\n");
}

// A statement that would fail on a sound database too would fail for ever.
TEST_F(Missed, FaultOfTheStatementItselfIsNotNoted)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    static constexpr char SQL[] = "insert into photo_share (shareid, sharename) values (1, null)";
    EXPECT_EQ(DbChanged(DB_PHOTO, "R:photo", DbExecute(photo, SQL, nullptr)), -1);
    EXPECT_EQ(MissedCount(), 0u);
}

TEST_F(Missed, RollbackKeepsTheReasonOfTheFailureBeforeIt)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_EQ(DbBegin(photo), 0);
    EXPECT_EQ(DbExecute(photo, "select nothing from nowhere", nullptr), -1);
    DbRollback(photo);
    EXPECT_NE(std::string(NUBODBErrorGet(photo)).find("nowhere"), std::string::npos);
    ASSERT_EQ(DbBegin(photo), 0);
    EXPECT_EQ(DbExecute(photo, "insert into photo_access_right values (7, 1, 'now')", nullptr), 1);
    ASSERT_EQ(DbCommit(photo), 0);
    EXPECT_EQ(Query(DB_PHOTO, "select userid from photo_access_right", "userid"), Texts{"7"});
}

static Texts Folders()
{
    return Query(DB_MEDIA, "select path from directory order by path", "path");
}

static int64_t FolderSave(const char *path)
{
    static constexpr char SQL[] = "insert into directory (path) values ($1)";
    return DbChanged(DB_MEDIA, std::string("f") + path, DbRun(DbOpen(DB_MEDIA), SQL, {DbText(path)}));
}

// A request for it would come behind those that wait already, and undo them.
TEST_F(Missed, TableThatCouldNotBeEmptiedIsEmptiedBeforeTheNextBatch)
{
    EXPECT_EQ(FolderSave("/old"), 1);
    WriteFile(queue, "a:/new\n");
    DbBatchBegin();
    (void)DbChanged(DB_MEDIA, "T:directory", -1);
    EXPECT_EQ(FolderSave("/later"), 1);  // done, but it will go with the others
    EXPECT_EQ(ReadFile(notes), "T:directory\nf/later\n");
    EXPECT_EQ(DbBatchEnd(), 0);
    EXPECT_EQ(Folders(), Texts{});
    EXPECT_EQ(ReadFile(queue), "a:/new\nD:/later\n");
    EXPECT_EQ(FolderSave("/afterwards"), 1);
    DbBatchBegin();
    EXPECT_EQ(FolderSave("/too"), 1);
    EXPECT_EQ(MissedCount(), 0u);
    EXPECT_EQ(DbBatchEnd(), 0);
    EXPECT_EQ(Folders(), (Texts{"/afterwards", "/too"}));
}
