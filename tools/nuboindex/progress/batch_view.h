// What an onlooker can know about the daemon's work at one moment.
#pragma once

#include <stdint.h>

#include <string>

#include "file_count.h"

enum WorkPhase {
    WORK_NONE,     // nothing waits
    WORK_WAITING,  // requests wait for the ten quiet seconds
    WORK_RUNNING,  // a batch is being done
};

struct BatchView {
    WorkPhase phase;
    int daemon_pid;         // 0: not running
    bool is_stopped;        // the daemon was halted by a signal
    bool is_hidden;         // this user may not see what the daemon does
    long queue_lines;       // that wait; -1: unknown
    double queue_age;       // seconds since the last of them came
    long line, line_count;  // in hand, counted from 1, and of the batch; 0: unknown
    std::string request;    // the line in hand, in words
    FileTotal done;         // of the batch
    FileTotal total;
    FileTotal line_done;  // of the line in hand
    FileTotal line_total;
    bool is_counted;          // the totals are final
    std::string file;         // in hand; empty: not seen
    std::string folder;       // in hand; empty: not seen
    double elapsed;           // seconds since the batch began
    double since_step;        // seconds since something was last seen to happen
    double files_per_second;  // 0: unknown
    double seconds_left;      // below 0: unknown
    long failures;            // files of this batch whose contents could not be read
};
