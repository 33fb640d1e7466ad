// What has become of queued requests. The test plays the daemon: it renames, and removes.
#include "progress/request_wait.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include "common/paths.h"
#include "support/scratch.h"

struct RequestWaiting : testing::Test {
    int Queued()
    {
        WriteFile(INDEX_QUEUE_PATH, "R:all\n");
        return open(INDEX_QUEUE_PATH, O_RDWR | O_CLOEXEC);
    }
    RequestWait wait = RequestWait(Queued());
};

TEST_F(RequestWaiting, QueuedInHandDone)
{
    EXPECT_EQ(wait.State(), REQUEST_QUEUED);
    ASSERT_EQ(rename(INDEX_QUEUE_PATH, INDEX_QUEUE_WORK_PATH), 0);
    EXPECT_EQ(wait.State(), REQUEST_IN_HAND);
    WriteFile(INDEX_QUEUE_PATH, "R:music\n");  // somebody else's, for the next batch
    EXPECT_EQ(wait.State(), REQUEST_IN_HAND);
    ASSERT_EQ(unlink(INDEX_QUEUE_WORK_PATH), 0);
    EXPECT_EQ(wait.State(), REQUEST_DONE);
    EXPECT_EQ(wait.State(), REQUEST_DONE);
}

TEST_F(RequestWaiting, ABatchBetweenTwoLooksIsNotMissed)
{
    ASSERT_EQ(rename(INDEX_QUEUE_PATH, INDEX_QUEUE_WORK_PATH), 0);
    ASSERT_EQ(unlink(INDEX_QUEUE_WORK_PATH), 0);
    WriteFile(INDEX_QUEUE_PATH, "R:music\n");
    EXPECT_EQ(wait.State(), REQUEST_DONE);
}

TEST_F(RequestWaiting, AnotherBatchIsNotOurs)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "R:music\n");  // an interrupted one, done before ours
    EXPECT_EQ(wait.State(), REQUEST_QUEUED);
    ASSERT_EQ(unlink(INDEX_QUEUE_WORK_PATH), 0);
    EXPECT_EQ(wait.State(), REQUEST_QUEUED);
}

TEST_F(RequestWaiting, AQueueThatWasRemovedUnreadIsLost)
{
    ASSERT_EQ(unlink(INDEX_QUEUE_PATH), 0);
    EXPECT_EQ(wait.State(), REQUEST_LOST);
}

TEST_F(RequestWaiting, SoIsOneThatWasReplacedOrMovedAside)
{
    ASSERT_EQ(rename(INDEX_QUEUE_PATH, Scratch("/var/spool/kept").c_str()), 0);
    EXPECT_EQ(wait.State(), REQUEST_LOST);
}
