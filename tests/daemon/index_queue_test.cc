// The indexing queue: take-over, line format, finish.
#include "daemon/index_queue.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/features.h"
#include "common/paths.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// The calls of a batch without those that every batch makes.
static Lines CommandCalls()
{
    Lines calls;
    for (const std::string &call : platform.calls)
        if (call.find("TableDirty") == std::string::npos)
            calls.push_back(call);
    return calls;
}

static void RunBatch(const std::string &content)
{
    WriteFile(INDEX_QUEUE_PATH, content);
    IndexQueueProcess();
}

static volatile sig_atomic_t got_hup;
static volatile sig_atomic_t got_usr1;

// Puts this process in place of both servers.
static void BeTheServers()
{
    got_hup = 0;
    got_usr1 = 0;
    signal(SIGHUP, [](int) { got_hup = got_hup + 1; });
    signal(SIGUSR1, [](int) { got_usr1 = got_usr1 + 1; });
    WriteFile(MUSIC_SERVER_PID_PATH, std::to_string(getpid()));
    WriteFile(MEDIA_SERVER_PID_PATH, std::to_string(getpid()));
}

TEST(IndexQueue, EmptyQueueOnlySignalsTheMediaStreamingServer)
{
    BeTheServers();
    RunBatch("");
    EXPECT_EQ(platform.calls, (Lines{"NUBOIndexMusicTableDirtySet 0", "NUBOIndexVideoTableDirtySet 0",
                                     "BlNUBOIndexIsMusicTableDirty", "BlNUBOIndexIsVideoTableDirty"}));
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_NE(access(INDEX_QUEUE_WORK_PATH, F_OK), 0);
    EXPECT_NE(access(INDEX_QUEUE_PATH, F_OK), 0);
    EXPECT_EQ(got_hup, 0);
    EXPECT_EQ(got_usr1, 1);
}

TEST(IndexQueue, ChangedMusicTableSignalsTheMusicServerAndAsksNoFurther)
{
    BeTheServers();
    platform.results["BlNUBOIndexIsMusicTableDirty"] = 1;
    RunBatch("");
    EXPECT_EQ(platform.calls.back(), "BlNUBOIndexIsMusicTableDirty");
    EXPECT_EQ(got_hup, 1);
    EXPECT_EQ(got_usr1, 1);
}

TEST(IndexQueue, ChangedVideoTableSignalsTheMusicServerToo)
{
    BeTheServers();
    platform.results["BlNUBOIndexIsVideoTableDirty"] = 1;
    RunBatch("");
    EXPECT_EQ(got_hup, 1);
    EXPECT_EQ(got_usr1, 1);
}

TEST(IndexQueue, MissingOrUselessServerPidsSignalNobody)
{
    for (const char *pid : {"0", "-1", "x"}) {
        BeTheServers();
        WriteFile(MUSIC_SERVER_PID_PATH, pid);
        WriteFile(MEDIA_SERVER_PID_PATH, pid);
        platform.results["BlNUBOIndexIsMusicTableDirty"] = 1;
        RunBatch("");
        EXPECT_EQ(got_hup, 0) << pid;
        EXPECT_EQ(got_usr1, 0) << pid;
    }
    BeTheServers();
    unlink(MEDIA_SERVER_PID_PATH);
    RunBatch("");
    EXPECT_EQ(got_usr1, 0);
}

TEST(IndexQueue, MissingQueueCostsSixteenLoggedRenamesAndNoNotification)
{
    BeTheServers();
    IndexQueueProcess();
    ASSERT_EQ(log_lines.size(), 17u);
    for (size_t i = 0; i < 16; i++)
        EXPECT_EQ(log_lines[i], std::string("index_queue(#): Failed to rename ") + INDEX_QUEUE_PATH +
                                    ". (No such file or directory)");
    EXPECT_EQ(
        log_lines[16].rfind(std::string("index_queue(#): Failed to open ") + INDEX_QUEUE_WORK_PATH + ". (", 0),
        0u);
    EXPECT_EQ(platform.calls, (Lines{"NUBOIndexMusicTableDirtySet 0", "NUBOIndexVideoTableDirtySet 0"}));
    EXPECT_EQ(got_usr1, 0);
}

TEST(IndexQueue, UnopenableWorkFileIsRemovedByTheShell)
{
    // A dangling link is there for the rename's target and for rm, but not for open.
    ASSERT_EQ(symlink("/nonexistent/target", INDEX_QUEUE_WORK_PATH), 0);
    IndexQueueProcess();  // the queue file is missing, so the rename fails and the link stays
    struct stat status;
    EXPECT_NE(lstat(INDEX_QUEUE_WORK_PATH, &status), 0);
}

// A folder would be opened and read to its end at once, but never go away: no batch would run again.
TEST(IndexQueue, FolderOrPipeInPlaceOfTheWorkFileIsRemovedAndTheNextBatchRuns)
{
    for (auto put : {mkdir, mkfifo}) {
        ASSERT_EQ(put(INDEX_QUEUE_WORK_PATH, 0700), 0);
        WriteFile(INDEX_QUEUE_PATH, "T:a\n");
        log_lines.clear();
        platform.calls.clear();
        IndexQueueProcess();
        ASSERT_EQ(log_lines.size(), 1u);
        EXPECT_EQ(log_lines[0].rfind("index_queue(#): Failed to open ", 0), 0u);
        EXPECT_NE(access(INDEX_QUEUE_WORK_PATH, F_OK), 0);
        EXPECT_EQ(CommandCalls(), Lines{});
        IndexQueueProcess();
        EXPECT_EQ(CommandCalls(), Lines{"NUBOTruncateTable a"});
    }
}

TEST(IndexQueue, LeftoverWorkFileIsExecutedAndTheQueueLeftAlone)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "T:old\n");
    WriteFile(INDEX_QUEUE_PATH, "T:new\n");
    IndexQueueProcess();
    EXPECT_EQ(CommandCalls(), Lines{"NUBOTruncateTable old"});
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "T:new\n");
    EXPECT_NE(access(INDEX_QUEUE_WORK_PATH, F_OK), 0);
}

TEST(IndexQueue, LinesAreExecutedInFileOrder)
{
    RunBatch("T:a\nT:b\nT:c\n");
    EXPECT_EQ(CommandCalls(), (Lines{"NUBOTruncateTable a", "NUBOTruncateTable b", "NUBOTruncateTable c"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST(IndexQueue, MalformedLinesAreReportedAndSkipped)
{
    static const struct {
        const char *line;
        const char *message;
    } cases[] = {
        {"a\n", "index_queue (#) Bad format [a\n]."},                      // only the letter
        {"a/volume1/x\n", "index_queue (#) Bad format [a/volume1/x\n]."},  // no colon
        {"\n", "index_queue (#) Bad format [\n]."},
        {"a", "index_queue (#) Bad format [a]."},
        {"x:/volume1\n", "index_queue (#) Bad format [x:/volume1]."},  // unknown letters
        {"n:/volume1\n", "index_queue (#) Bad format [n:/volume1]."},
        {"@:/volume1\n", "index_queue (#) Bad format [@:/volume1]."},  // outside A-d
        {"e:/volume1\n", "index_queue (#) Bad format [e:/volume1]."},
        {"\xC1:/volume1\n", "index_queue (#) Bad format [\xC1:/volume1]."},  // A with the top bit set
    };
    for (const auto &c : cases) {
        log_lines.clear();
        platform.calls.clear();
        RunBatch(std::string(c.line) + (strchr(c.line, '\n') ? "T:next\n" : ""));
        EXPECT_EQ(log_lines, Lines{c.message}) << c.line;
        EXPECT_EQ(CommandCalls(), strchr(c.line, '\n') ? Lines{"NUBOTruncateTable next"} : Lines{}) << c.line;
    }
}

TEST(IndexQueue, MissingLineFeedWarnsAndIsExecuted)
{
    RunBatch("T:music");
    EXPECT_EQ(log_lines, Lines{"index_queue (#) Warning! No new line here."});
    EXPECT_EQ(CommandCalls(), Lines{"NUBOTruncateTable music"});
}

TEST(IndexQueue, LineOf4111CharactersIsReadWhole)
{
    std::string argument(4111 - 3, 'x');
    RunBatch("T:" + argument + "\n");
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(CommandCalls(), Lines{"NUBOTruncateTable " + argument});
}

TEST(IndexQueue, LongerLineIsSplitAfter4111Characters)
{
    std::string first(4111 - 2, 'x');
    RunBatch("T:" + first + "rest\nT:b\n");
    EXPECT_EQ(log_lines,
              (Lines{"index_queue (#) Warning! No new line here.", "index_queue (#) Bad format [rest\n]."}));
    EXPECT_EQ(CommandCalls(), (Lines{"NUBOTruncateTable " + first, "NUBOTruncateTable b"}));
}

TEST(IndexQueue, NulBytesEndALineEarlyAndHarmNothing)
{
    RunBatch(std::string("T:a\0b\n\0:\n\0", 10) + "T:c\n");
    EXPECT_EQ(CommandCalls(), (Lines{"NUBOTruncateTable a"}));
    EXPECT_EQ(log_lines,
              (Lines{"index_queue (#) Warning! No new line here.", "index_queue (#) Warning! No new line here.",
                     "index_queue (#) Bad format [].", "index_queue (#) Bad format []."}));
}

TEST(IndexQueue, EmptyArgumentReachesTheCommand)
{
    RunBatch("T:\n");
    EXPECT_EQ(CommandCalls(), Lines{"NUBOTruncateTable "});
}
