// Renames that wait to be told, in the order in which they have to be executed, each from the place that the databases
// know to the place where the file or folder is now.
#pragma once

#include <stddef.h>

#include <string>
#include <unordered_map>
#include <vector>

struct PendingRename {
    std::string new_path;
    std::string old_path;
    bool is_folder;
    bool is_dropped = false;  // told in another way
};

struct RenameList {
    std::vector<PendingRename> renames;
    std::unordered_map<std::string, size_t> by_new_path;
    double first = 0;  // seconds; of the first rename in the list, and of the last one
    double last = 0;
};

// A rename has happened. A chain becomes one rename. Those that can no longer be told as renames are moved to `broken`:
// their old paths are gone, and at their new paths something is new.
void RenameAdd(RenameList &list, const PendingRename &rename, double now, std::vector<PendingRename> &broken);

// Something was removed or replaced at and below the path: renames that led there are moved to `broken`.
void RenamesDestroy(RenameList &list, const std::string &path, bool is_folder,
                    std::vector<PendingRename> &broken);

bool RenamesEmpty(const RenameList &list);

// The renames that are left, in order; the list is empty then.
std::vector<PendingRename> RenamesTake(RenameList &list);
