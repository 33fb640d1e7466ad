// Counts in the background what the requests of a batch walk, while the daemon is at it.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "file_count.h"
#include "process_files.h"
#include "work_lines.h"

struct BatchTotal {
    FileTotal files;
    bool is_whole;  // everything has been counted
};

// Where the daemon is: in this line, with so much behind it.
struct BatchPlace {
    long line;         // counted from 1
    FileTotal before;  // of the batch
};

class BatchCount
{
  public:
    // Starts counting, at the lowest priority.
    explicit BatchCount(std::vector<WorkLine> lines);
    ~BatchCount();
    BatchCount(const BatchCount &) = delete;
    BatchCount &operator=(const BatchCount &) = delete;

    const std::vector<WorkLine> &Lines() const;

    // Of the whole batch, and of one line.
    BatchTotal Total();
    BatchTotal LineTotal(long line);

    // What comes before a line.
    FileTotal LineBefore(long line);

    // The place of a file or folder that the daemon has open, in the first of these lines that meets it. A folder
    // counts with its mark. Nothing when no line meets it, or has not been counted that far.
    std::optional<BatchPlace> PlaceOf(const OpenFile &file, LineRange range);

  private:
    void Run();

    std::vector<WorkLine> lines;
    std::mutex mutex;               // guards the rest
    std::vector<FileCount> counts;  // of the lines that have been counted
    std::vector<FileTotal> before;  // the same lines
    FileTotal total = {};
    std::atomic<bool> stop = false;
    std::thread thread;
};
