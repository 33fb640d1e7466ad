// What waits in the queue and how far a batch has come, seen from outside the daemon.
#pragma once

// The number of lines that the daemon will read from a file; 0 when it is missing, -1 when it cannot be read.
long QueueLineCount(const char *path);

struct BatchProgress {
    bool exists;      // a batch is in progress, or was interrupted and waits to be done again
    long line_count;  // -1: unknown
    long line_min;    // the line in hand is one of these two or between them; both 0: unknown, or not yet begun
    long line_max;
};

// `daemon_pid` 0: the daemon is not running. Which line is in hand can be seen by root and the daemon's own user.
// The daemon reads its file in blocks, so all that can be known is in which block the line in hand ends.
BatchProgress BatchProgressRead(int daemon_pid);
