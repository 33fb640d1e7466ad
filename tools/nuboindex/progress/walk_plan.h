// What a request makes the daemon walk.
#pragma once

#include <string>
#include <vector>

enum WalkOrder {
    WALK_LISTED,  // as the file system lists the entries
    WALK_SORTED,  // a folder's files from the last name to the first, then its subfolders by name
};

struct PlannedWalk {
    std::string root;  // a folder with all that is in it, or a single file
    WalkOrder order;
    bool is_single;  // the root by itself, even if it is a folder
};

// The walks of one line of the queue, in their order; none for a request that reads no file. Share links are followed
// as they stand now.
std::vector<PlannedWalk> PlannedWalks(const std::string &line);

// A line of the queue in words.
std::string RequestText(const std::string &line);
