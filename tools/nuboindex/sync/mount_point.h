// Folders on which a disk used to be mounted.
#pragma once

#include <string>

#include "sync/index_rows.h"

// A folder below which the index knows files: has it no entry at all, because the disk that was mounted there no longer
// is? Either /etc/fstab says so, or the folder has not changed since a file below it did, so nobody has emptied it.
bool IsUnmounted(IndexRows &rows, const std::string &folder);

// The mount point at or above a folder that `table`, in the form of fstab(5), has mounted when the system starts and where
// nothing is mounted now: what can be seen there is not what belongs there. Empty if there is none. `folder` exists.
std::string UnmountedAbove(const std::string &folder, const char *table = "/etc/fstab");
