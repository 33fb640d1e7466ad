// How far a batch has come, seen from outside.
#include "batch_progress.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include "common/paths.h"
#include "support/scratch.h"

TEST(QueueLineCount, CountsLinesAsTheDaemonReadsThem)
{
    const struct {
        std::string content;
        long lines;
    } cases[] = {
        {"", 0},
        {"a:/x\n", 1},
        {"a:/x\na:/y", 2},  // the last one needs no line feed
        {"\n\n", 2},
        {std::string(4110, 'x') + "\n", 1},
        {std::string(4111, 'x') + "\n", 2},  // its line feed is read as a line of its own
        {std::string(9000, 'x'), 3},
        {std::string("a\0b\n", 4), 1},
    };
    for (const auto &c : cases) {
        WriteFile(INDEX_QUEUE_PATH, c.content);
        EXPECT_EQ(QueueLineCount(INDEX_QUEUE_PATH), c.lines) << c.content.size();
    }
}

TEST(QueueLineCount, AMissingQueueIsEmptyAndAnUnreadableOneUnknown)
{
    EXPECT_EQ(QueueLineCount(INDEX_QUEUE_PATH), 0);
    MakeFolder(INDEX_QUEUE_PATH);
    EXPECT_EQ(QueueLineCount(INDEX_QUEUE_PATH), -1);
}

TEST(BatchProgress, NoWorkFileIsNoBatch)
{
    EXPECT_FALSE(BatchProgressRead(0).exists);
    EXPECT_FALSE(BatchProgressRead(getpid()).exists);
}

TEST(BatchProgress, WithoutADaemonOnlyTheNumberOfLinesIsKnown)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "a:/x\na:/y\n");
    for (int pid : {0, 999999999, getpid()}) {  // this process has not opened the file
        BatchProgress progress = BatchProgressRead(pid);
        EXPECT_TRUE(progress.exists);
        EXPECT_EQ(progress.line_count, 2);
        EXPECT_EQ(progress.line_min, 0);
        EXPECT_EQ(progress.line_max, 0);
    }
}

// Reads the work file as the daemon does and compares at every line what an onlooker sees with what is so.
static void ExpectEveryLineFound(const std::string &content, long block_lines_max)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, content);
    FILE *work = fopen(INDEX_QUEUE_WORK_PATH, "r");
    char line[4112];
    long number = 0;
    while (fgets(line, sizeof line, work)) {
        number++;
        BatchProgress progress = BatchProgressRead(getpid());
        ASSERT_LE(progress.line_min, number);
        ASSERT_GE(progress.line_max, number);
        ASSERT_LE(progress.line_max - progress.line_min, block_lines_max);
        ASSERT_GT(progress.line_min, 0);
    }
    EXPECT_EQ(BatchProgressRead(getpid()).line_count, number);
    fclose(work);
}

TEST(BatchProgress, TheLineInHandIsAlwaysWithinTheBounds)
{
    std::string content;
    for (int i = 0; i < 600; i++)
        content += "a:/volume1/music/" + std::string(static_cast<size_t>(i % 70), 'x') + "\n";
    ExpectEveryLineFound(content, 4096 / 18 + 2);
}

TEST(BatchProgress, LongLinesAndALastOneWithoutItsEndAreFoundToo)
{
    std::string content;
    for (size_t length : {4111u, 1u, 4095u, 9000u, 4110u, 12345u, 3u})
        content += "a:" + std::string(length, 'x') + "\n";
    ExpectEveryLineFound(content + "R:all", 8);
    ExpectEveryLineFound("R:all", 0);
}

TEST(BatchProgress, AnOpenedFileThatIsNotYetReadHasNoLineInHand)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "a:/x\n");
    FILE *work = fopen(INDEX_QUEUE_WORK_PATH, "r");
    EXPECT_EQ(BatchProgressRead(getpid()).line_max, 0);
    EXPECT_EQ(BatchProgressRead(getpid()).line_count, 1);
    fclose(work);
}
