// A comparison of tree and databases in a process of its own, so that events are read meanwhile.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

struct SyncChild {
    pid_t pid = 0;  // 0: none is running
    int output = -1;
    std::string text;
};

struct SyncEnd {
    bool is_done;                     // all that is there was compared
    size_t requests;                  // that it queued
    std::vector<std::string> absent;  // shares
};

// Compares the folders; all shares when there are none. False, with errno: no process could be made.
bool SyncChildStart(SyncChild &child, const std::vector<std::string> &folders);

// True once it has ended.
bool SyncChildEnded(SyncChild &child, SyncEnd &end);

// Ends it, and waits for that.
void SyncChildStop(SyncChild &child);
