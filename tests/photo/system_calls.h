// System calls that a test must see or steer: they answer as scripted here, else as the system does. A signal is
// never sent.
#pragma once

#include <deque>
#include <string>
#include <vector>

struct SystemCalls {
    std::vector<std::string> kills;  // "4711 10"
    std::vector<std::string> opens;  // of files below the scratch folder's var/spool: the flags
    std::deque<int> open_errors;     // errno of the next of those opens; 0 goes through
    int sleeps = 0;                  // seconds
    int flock_error = 0;
    int write_error = 0;        // of writes behind such an open; -1 for a short write
    int statfs_error = 0;       // errno
    long file_system_type = 0;  // of every volume, when not 0
};

extern SystemCalls system_calls;  // reset by the tests that use it
