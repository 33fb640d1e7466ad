// What the watcher asks the daemon for, before it becomes a line.
#pragma once

#include <string>

struct WatchRequest {
    char letter;           // a, A, d, D, N
    std::string path;      // for N: the new one
    std::string old_path;  // for N
};
