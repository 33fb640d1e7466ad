// Folders on which a disk used to be mounted.
#pragma once

#include <string>

#include "sync/index_rows.h"

// A folder below which the index knows files: has it no entry at all, because the disk that was mounted there no longer
// is? Either /etc/fstab says so, or the folder has not changed since a file below it did, so nobody has emptied it.
bool IsUnmounted(IndexRows &rows, const std::string &folder);
