// The comparison of tree and databases: what differs, path by path, and how it can be mended.
#pragma once

#include <stddef.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "sync/gallery.h"
#include "sync/index_rows.h"

// What mends a difference. Each is chosen so that the difference is gone when it has run.
enum SyncCure : unsigned {
    CURE_SINGLE = 1,   // "a" or "d"
    CURE_TREE = 2,     // "A" or "D"
    CURE_REFILL = 4,   // forgets and reads anew all that is at and below `top`
    CURE_GALLERY = 8,  // the resynchronisation of the whole photo share
};

struct SyncFinding {
    char sign;  // as in SyncDifference
    std::string path;
    bool is_folder;
    unsigned cures;
    std::string top;  // the folder that is new or gone as a whole, or to be refilled; else the path itself
};

struct Comparison {
    IndexRows rows;
    Gallery gallery;
    bool allow_empty = false;
    size_t files = 0;
    std::vector<SyncFinding> findings;
    std::vector<std::string> unreadable;
    std::vector<std::string> absent_folders;
    std::vector<std::string>
        vanished;  // folders that the walk has missed: those that are back are no longer known
    std::unordered_set<std::string> kept;  // rows at and below these do not count as gone
};

// Are pictures of such a path, and playlists that are no regular files, left out of the media database?
bool IsLeftOut(int kind, const std::string &path, const struct statx &status);

// Walks a place and compares what is there with its rows, which are marked as seen.
void TreeCompare(Comparison &comparison, const Place &place);

// Looks at the rows of a place that the walk has not seen: what they stand for is gone, or hidden from the walk.
void UnseenRowsCompare(Comparison &comparison, const Place &place);

// Does a path, or a folder above it, keep its rows?
bool IsKept(const Comparison &comparison, std::string path);

// To be called when both sides are compared: takes back what the walk took for gone and what is there after all, as a
// disk that comes and goes makes it look.
void ReturnedKeep(Comparison &comparison);

// Joins what differs below new folders, drops doubles, and puts the findings in the order of their paths.
void FindingsFold(Comparison &comparison);
