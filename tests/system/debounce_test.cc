// When a batch starts. The only tests that live with the daemon's own clock.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "system/box.h"
#include "system/rows.h"

// The second signal, four seconds after the first, starts the ten quiet seconds anew.
TEST(Debounce, BatchStartsTenSecondsAfterTheLastSignal)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/video/b.srt", "");
    BecomeMediaServer();
    pid_t pid = DaemonStart();
    DaemonSettle(pid);
    FileAppend(QUEUE, "a:/volume1/video/a.srt\n");
    EXPECT_EQ(kill(pid, SIGUSR1), 0);
    sleep(4);
    FileAppend(QUEUE, "a:/volume1/video/b.srt\n");
    double last_signal = Clock();
    EXPECT_EQ(kill(pid, SIGUSR1), 0);
    EXPECT_TRUE(BatchesWait(30));
    double waited = Clock() - last_signal;
    EXPECT_GE(waited, 9.9);
    EXPECT_LE(waited, 13.0);
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_EQ(Paths("video").size(), 2u);
    EXPECT_EQ(Log(), Texts());
}

// Producers that never pause get their batch after ten thousand signals. Signals that meet a pending one of their
// kind are lost, so more are sent than count.
TEST(Debounce, TenThousandSignalsForceABatch)
{
    FileWrite("/volume1/video/a.srt", "");
    BecomeMediaServer();
    pid_t pid = DaemonStart();
    DaemonSettle(pid);
    FileAppend(QUEUE, "a:/volume1/video/a.srt\n");
    int sent = 0;
    for (double end = Clock() + 60; Exists(QUEUE) && Clock() < end; sent++) {
        kill(pid, SIGUSR1);
        if (sent % 16 == 0)
            usleep(1);
    }
    EXPECT_GE(sent, 10000);
    EXPECT_TRUE(BatchesWait(30));
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_EQ(Paths("video").size(), 1u);
}

// A signal without a queue costs the daemon its sixteen attempts and their messages.
TEST(Debounce, ForcedBatchWithoutAQueueIsReported)
{
    pid_t pid = DaemonStart();
    Texts expected(
        16, "index_queue(#): Failed to rename /var/spool/nubo_indexing_queue. (No such file or directory)");
    expected.push_back(
        "index_queue(#): Failed to open /var/spool/nubo_indexing_queue.tmp. (No such file or directory)");
    Texts log;
    for (double end = Clock() + 60; log.empty() && Clock() < end; log = Log())
        for (int i = 0; i < 5000; i++) {
            kill(pid, SIGUSR1);
            if (i % 16 == 0)
                usleep(1);
        }
    usleep(100000);
    log = Log();
    ASSERT_GE(log.size(), expected.size());
    EXPECT_EQ(Texts(log.begin(), log.begin() + 17), expected);
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
}
