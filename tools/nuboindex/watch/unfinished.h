// Requests that were queued and may not have been executed yet, as far as a later change of the tree can spoil them.
#pragma once

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

// A folder's "D" does nothing when its path is there again. A folder's "N" needs the folder at its new path.
struct Unfinished {
    uint64_t batch;
    std::string old_path;  // of "N"; empty for "D"
};

using UnfinishedList = std::multimap<std::string, Unfinished, std::less<>>;  // by the path, for "N" the new one

// Something came into being at the path: the folders whose "D" is spoiled leave the list.
std::vector<std::string> UnfinishedDeletes(UnfinishedList &list, const std::string &path);

// What was at the path has gone: the renames that are spoiled leave the list.
std::vector<std::pair<std::string, std::string>> UnfinishedRenames(UnfinishedList &list,
                                                                   const std::string &path);

// Batches up to this one have been executed.
void UnfinishedForget(UnfinishedList &list, uint64_t batch);
