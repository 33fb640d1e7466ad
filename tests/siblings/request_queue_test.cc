// The queue: nothing is lost while producers append, and nothing but requests comes out.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "common/paths.h"
#include "common/request_queue.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

static Lines Taken()
{
    Lines lines;
    EXPECT_EQ(RequestsTake(THUMB_QUEUE_PATH, lines), 0);
    return lines;
}

TEST(RequestQueue, AMissingQueueIsEmptyAndIsNotMade)
{
    EXPECT_EQ(Taken(), Lines{});
    EXPECT_NE(access(THUMB_QUEUE_PATH, F_OK), 0);
}

TEST(RequestQueue, WhatWasTakenIsGoneAndTheFileStays)
{
    WriteFile(THUMB_QUEUE_PATH, "/volume1/photo/A\n/volume1/photo/B\n");
    EXPECT_EQ(Taken(), (Lines{"/volume1/photo/A", "/volume1/photo/B"}));
    EXPECT_EQ(access(THUMB_QUEUE_PATH, F_OK), 0);
    EXPECT_EQ(Taken(), Lines{});
}

TEST(RequestQueue, OnlyRequestsComeOutAndEachOnce)
{
    std::string longest = "/" + std::string(4094, 'x');
    WriteFile(THUMB_QUEUE_PATH, "/a\n\n/b\n/a\nrelative\n \n" + std::string("/nul\0byte\n", 10) + longest +
                                    "\n/" + std::string(4095, 'y') + "\n/" + std::string(1 << 20, 'z') +
                                    "\n/\xff\xfe 'q\"%\n/torn");
    EXPECT_EQ(Taken(), (Lines{"/a", "/b", longest, "/\xff\xfe 'q\"%", "/torn"}));
}

TEST(RequestQueue, AHundredThousandLinesKeepTheirOrder)
{
    std::string queue;
    for (int i = 0; i < 100000; i++)
        queue += "/volume1/photo/" + std::to_string(i) + "\n";
    WriteFile(THUMB_QUEUE_PATH, queue);
    Lines lines = Taken();
    ASSERT_EQ(lines.size(), 100000u);
    EXPECT_EQ(lines[99999], "/volume1/photo/99999");
}

TEST(RequestQueue, AppendsOnce)
{
    EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, "/v/a.avi"), 0);
    EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, "/v/a.avi"), 0);
    EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, "/v/a"), 0);  // a part of a line is another request
    EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), "/v/a.avi\n/v/a\n");
    for (const char *bad : {"", "relative", "/line\nfeed"}) {
        EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, bad), -1) << bad;
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, "/" + std::string(4095, 'x')), -1);
    EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), "/v/a.avi\n/v/a\n");
}

TEST(RequestQueue, WhatIsNoFileIsNoQueue)
{
    Lines lines;
    ASSERT_EQ(mkfifo(THUMB_QUEUE_PATH, 0600), 0);
    EXPECT_EQ(RequestsTake(THUMB_QUEUE_PATH, lines), -1);  // and nothing blocks
    EXPECT_EQ(RequestQueueMake(THUMB_QUEUE_PATH), -1);
    MakeFolder(FLV_QUEUE_PATH);
    EXPECT_EQ(RequestsTake(FLV_QUEUE_PATH, lines), -1);
    EXPECT_EQ(RequestAppend(FLV_QUEUE_PATH, "/a"), -1);
    unlink(THUMB_QUEUE_PATH);
    WriteFile(Scratch("/secret"), "/a\n");
    ASSERT_EQ(symlink(Scratch("/secret").c_str(), THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(RequestsTake(THUMB_QUEUE_PATH, lines), -1);
    EXPECT_EQ(ReadFile(Scratch("/secret")), "/a\n");
}

// As the indexing daemon appends: open, lock, one write.
static void Produce(int producer, int count)
{
    for (int i = 0; i < count; i++) {
        std::string line = "/volume1/" + std::to_string(producer) + "/" + std::to_string(i) + "\n";
        int queue = open(THUMB_QUEUE_PATH, O_RDWR | O_APPEND);
        if (queue < 0 || flock(queue, LOCK_EX) != 0 ||
            write(queue, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            _exit(1);
        close(queue);
    }
    _exit(0);
}

TEST(RequestQueue, NothingIsLostWhileProducersAppend)
{
    static constexpr int PRODUCERS = 3, COUNT = 500;
    ASSERT_EQ(RequestQueueMake(THUMB_QUEUE_PATH), 0);
    for (int producer = 0; producer < PRODUCERS; producer++) {
        if (fork() == 0)
            Produce(producer, COUNT);
    }
    std::set<std::string> all;
    size_t takes = 0, lines = 0;
    for (int ended = 0; ended < PRODUCERS;) {
        int status = 0;
        while (ended < PRODUCERS && waitpid(-1, &status, WNOHANG) > 0) {
            EXPECT_EQ(status, 0);
            ended++;
        }
        for (const std::string &line : Taken()) {
            all.insert(line);
            lines++;
        }
        takes++;
    }
    EXPECT_EQ(all.size(), static_cast<size_t>(PRODUCERS * COUNT));
    EXPECT_EQ(lines, all.size());
    EXPECT_GT(takes, 1u);
}
