// The watcher's end of the indexing queue: appends lines, wakes the daemon, and knows what it has executed.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

// A file that can be told from one that got its number later.
struct QueueFile {
    uint64_t device = 0;
    uint64_t number = 0;
    int64_t born = 0;  // nanoseconds; 0 where the file system does not tell
    bool operator==(const QueueFile &) const = default;
};

// Lines of one batch, and the queue file that they stand in until they are executed.
struct FedBatch {
    uint64_t batch;
    QueueFile file;
};

struct QueueFeed {
    std::vector<std::string> waiting;  // lines that could not be appended yet
    std::vector<FedBatch> fed;         // not known to be executed
    std::string trouble;               // why lines wait; empty: none do
    QueueFile signalled_file;          // the daemon was woken for this queue file
    double signalled_at = 0;
};

// Batches before this moment, of whatever is in the queue, count as `batch`.
void FeedBegin(QueueFeed &feed, uint64_t batch);

// Appends what waits, and wakes the daemon. It is woken once for each queue file: every signal puts its batch off by
// ten seconds, so that on a busy box it would never begin.
void FeedPush(QueueFeed &feed, uint64_t batch, double now);

// All batches up to the result are executed, as long as no more were begun than `last`.
uint64_t FeedExecuted(QueueFeed &feed, uint64_t last);
