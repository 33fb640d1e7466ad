// Appends requests to the indexing queue while the daemon may take it away at any moment.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

enum QueueWriteResult {
    QUEUE_WRITTEN,     // the line is in the queue
    QUEUE_TAKEN_OVER,  // the file was no longer the queue after the write; nobody may ever read the line
    QUEUE_FAILED,      // errno says why
};

// Opens the queue for appending; makes it, writable for every producer, when it is missing. -1 with errno.
int QueueOpen(const char *queue_path);

// Appends one line (with its line feed) by one write. When an earlier producer left its last line without a line
// feed, the write begins with one.
QueueWriteResult QueueWrite(int queue, const char *queue_path, const std::string &line);

// Appends the lines in order. Each reaches the daemon at least once: a line that was written into a file taken
// over meanwhile is written again into the new one. Returns the number of lines that are in the queue; when those
// are not all, `reason` says why. The file that holds the last of them is left open in `kept` unless that is null;
// the files of the earlier ones were taken over, and will be executed, before it. -1 when there is none.
size_t QueueAppend(const char *queue_path, const std::vector<std::string> &lines, std::string &reason,
                   int *kept = nullptr);
