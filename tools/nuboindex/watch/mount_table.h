// The mounts of this system as the watcher needs them: what lies inside a share, and that something was mounted.
#pragma once

#include <string>
#include <vector>

// Mount points below a folder whose path is free of symbolic links, the folder itself left out. Sorted. Places where
// something is mounted on first use do not count until it is.
std::vector<std::string> MountsBelow(const std::string &folder);

// Tells one place from what was or will be there under the same path: disk, number and mount. Empty: nothing is there.
std::string PlaceIdentity(const std::string &path);

struct MountTable {
    int descriptor = -1;  // to be polled for POLLPRI
    std::string text;
    unsigned remounts = 0;  // a disk that left and came back between two looks has the same text again
};

void MountTableOpen(MountTable &table);

// After a poll has told that the table changed.
void MountTableLook(MountTable &table);
