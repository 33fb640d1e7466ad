// Appending while the queue is taken away.
#include "queue_append.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <sstream>
#include <thread>

#include "common/paths.h"
#include "support/scratch.h"

static void TakeOver()
{
    ASSERT_EQ(rename(INDEX_QUEUE_PATH, INDEX_QUEUE_WORK_PATH), 0);
}

TEST(QueueAppend, MakesAQueueThatEveryProducerCanAppendTo)
{
    mode_t mask = umask(077);
    std::string reason;
    EXPECT_EQ(QueueAppend(INDEX_QUEUE_PATH, {"a:/x\n", "R:all\n"}, reason), 2u);
    EXPECT_EQ(umask(mask), 077u);
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "a:/x\nR:all\n");
    struct stat status;
    ASSERT_EQ(stat(INDEX_QUEUE_PATH, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666u);
}

TEST(QueueAppend, KeepsWhatOthersQueued)
{
    WriteFile(INDEX_QUEUE_PATH, "a:/other\n");
    std::string reason;
    EXPECT_EQ(QueueAppend(INDEX_QUEUE_PATH, {"a:/x\n"}, reason), 1u);
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "a:/other\na:/x\n");
}

TEST(QueueAppend, EndsALineThatAnotherProducerLeftOpen)
{
    WriteFile(INDEX_QUEUE_PATH, "a:/other");
    std::string reason;
    EXPECT_EQ(QueueAppend(INDEX_QUEUE_PATH, {"a:/x\n"}, reason), 1u);
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "a:/other\na:/x\n");
}

TEST(QueueAppend, NoticesThatTheQueueWasTakenOverBeforeTheWrite)
{
    int queue = QueueOpen(INDEX_QUEUE_PATH);
    ASSERT_GE(queue, 0);
    EXPECT_EQ(QueueWrite(queue, INDEX_QUEUE_PATH, "a:/1\n"), QUEUE_WRITTEN);
    TakeOver();
    EXPECT_EQ(QueueWrite(queue, INDEX_QUEUE_PATH, "a:/2\n"), QUEUE_TAKEN_OVER);  // no file has the name
    WriteFile(INDEX_QUEUE_PATH, "a:/3\n");
    EXPECT_EQ(QueueWrite(queue, INDEX_QUEUE_PATH, "a:/4\n"), QUEUE_TAKEN_OVER);  // another file has it
    unlink(INDEX_QUEUE_WORK_PATH);
    EXPECT_EQ(QueueWrite(queue, INDEX_QUEUE_PATH, "a:/5\n"), QUEUE_TAKEN_OVER);  // the batch is over
    close(queue);
}

TEST(QueueAppend, LosesNothingWhileTheQueueIsTakenOverAllTheTime)
{
    static constexpr int LINES = 2000;
    std::atomic<bool> done = false;
    std::set<std::string> seen;
    auto batch = [&] {
        if (rename(INDEX_QUEUE_PATH, INDEX_QUEUE_WORK_PATH) != 0)
            return;
        std::istringstream work(ReadFile(INDEX_QUEUE_WORK_PATH));
        for (std::string line; std::getline(work, line);)
            seen.insert(line);
        unlink(INDEX_QUEUE_WORK_PATH);
    };
    std::thread daemon([&] {
        while (!done)
            batch();
        batch();
    });
    auto produce = [](int producer) {
        for (int i = 0; i < LINES; i += 2) {
            std::string name = "a:/" + std::to_string(producer) + "-";
            std::string reason;
            EXPECT_EQ(QueueAppend(INDEX_QUEUE_PATH,
                                  {name + std::to_string(i) + "\n", name + std::to_string(i + 1) + "\n"},
                                  reason),
                      2u)
                << reason;
        }
    };
    std::thread other(produce, 1);
    produce(2);
    other.join();
    done = true;
    daemon.join();

    for (int producer : {1, 2}) {
        for (int i = 0; i < LINES; i++)
            EXPECT_EQ(seen.count("a:/" + std::to_string(producer) + "-" + std::to_string(i)), 1u);
    }
}

TEST(QueueAppend, SaysWhyAQueueCannotBeOpened)
{
    std::string reason;
    EXPECT_EQ(QueueAppend(Scratch("/no/folder/queue").c_str(), {"a:/x\n"}, reason), 0u);
    EXPECT_EQ(reason, "cannot append to " + Scratch("/no/folder/queue") + ": No such file or directory");

    MakeFolder(INDEX_QUEUE_PATH);
    EXPECT_EQ(QueueAppend(INDEX_QUEUE_PATH, {"a:/x\n"}, reason), 0u);
    EXPECT_NE(reason.find("Is a directory"), std::string::npos) << reason;
}

TEST(QueueAppend, APipeInPlaceOfTheQueueIsRefusedAndDoesNotBlock)
{
    ASSERT_EQ(mkfifo(INDEX_QUEUE_PATH, 0666), 0);
    EXPECT_EQ(QueueOpen(INDEX_QUEUE_PATH), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(QueueAppend, AFullDiskIsAFailureAndCountsTheLinesBefore)
{
    int full = open("/dev/full", O_WRONLY);
    if (full < 0)
        GTEST_SKIP() << "no /dev/full";
    EXPECT_EQ(QueueWrite(full, INDEX_QUEUE_PATH, "a:/x\n"), QUEUE_FAILED);
    EXPECT_EQ(errno, ENOSPC);
    close(full);
}
