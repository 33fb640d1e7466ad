#include "watch/queue_feed.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "common/paths.h"
#include "daemon_process.h"
#include "queue_append.h"

// A daemon that has not taken the queue after this time was kept from it by other producers, or started anew.
static constexpr double SIGNAL_AGAIN_SECONDS = 30;

static bool FileOf(const char *path, QueueFile &file)
{
    static constexpr int64_t NANOSECONDS = 1000000000;
    struct statx status;
    if (statx(AT_FDCWD, path, 0, STATX_INO | STATX_BTIME, &status) != 0)
        return false;
    file.device = (static_cast<uint64_t>(status.stx_dev_major) << 32) | status.stx_dev_minor;
    file.number = status.stx_ino;
    if (status.stx_mask & STATX_BTIME)
        file.born = status.stx_btime.tv_sec * NANOSECONDS + status.stx_btime.tv_nsec;
    return true;
}

void FeedBegin(QueueFeed &feed, uint64_t batch)
{
    for (const char *path : {INDEX_QUEUE_WORK_PATH, INDEX_QUEUE_PATH}) {
        QueueFile file;
        if (FileOf(path, file))
            feed.fed.push_back({batch, file});
    }
}

static void DaemonWake(QueueFeed &feed, const QueueFile &queue, double now)
{
    QueueFile work;
    bool is_late = now - feed.signalled_at >= SIGNAL_AGAIN_SECONDS && !FileOf(INDEX_QUEUE_WORK_PATH, work);
    if (queue == feed.signalled_file && !is_late)
        return;
    (void)DaemonSignal();  // one that does not run finds the queue when it starts
    feed.signalled_file = queue;
    feed.signalled_at = now;
}

void FeedPush(QueueFeed &feed, uint64_t batch, double now)
{
    QueueFile queue;
    if (!feed.waiting.empty()) {
        feed.trouble.clear();
        size_t appended = QueueAppend(INDEX_QUEUE_PATH, feed.waiting, feed.trouble);
        feed.waiting.erase(feed.waiting.begin(), feed.waiting.begin() + static_cast<ptrdiff_t>(appended));
        bool is_there = FileOf(INDEX_QUEUE_PATH, queue) || FileOf(INDEX_QUEUE_WORK_PATH, queue);
        if (appended > 0 && is_there)
            feed.fed.push_back({batch, queue});
    }
    if (!feed.fed.empty() && FileOf(INDEX_QUEUE_PATH, queue))
        DaemonWake(feed, queue, now);
}

uint64_t FeedExecuted(QueueFeed &feed, uint64_t last)
{
    QueueFile queue, work;
    bool is_queued = FileOf(INDEX_QUEUE_PATH, queue);
    bool is_worked_on = FileOf(INDEX_QUEUE_WORK_PATH, work);
    auto is_executed = [&](const FedBatch &fed) {
        return !(is_queued && fed.file == queue) && !(is_worked_on && fed.file == work);
    };
    std::erase_if(feed.fed, is_executed);
    if (!feed.waiting.empty() && last > 0)
        last--;
    for (const FedBatch &fed : feed.fed)
        last = std::min(last, fed.batch - 1);
    return last;
}
