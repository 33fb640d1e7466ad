// The names that changed and wait to settle, as a tree of folders, so that what happens in one folder can be told as
// one. A plain data structure: pending.cc decides.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

enum PendingMark : unsigned {
    MARK_NEW = 1,         // came into being since the last request for it: rows need not follow its moves
    MARK_CHANGED = 2,     // a file, or a link to a folder, to be read
    MARK_OPEN = 4,        // created, and no writer has closed it yet
    MARK_WALK = 8,        // a folder to be walked
    MARK_GONE_FILE = 16,  // was a file, or any name but a folder
    MARK_GONE_FOLDER = 32,
    MARK_COMPARE = 64,  // no request can say what happened here: rows and tree are to be compared
};

static constexpr unsigned MARKS_GONE = MARK_GONE_FILE | MARK_GONE_FOLDER;

struct PendingNode {
    std::map<std::string, std::unique_ptr<PendingNode>, std::less<>> children;
    unsigned marks = 0;
    int steady_looks = 0;  // at an open file whose size stayed the same
    int64_t size = -1;     // at the last of them
    double first = 0;      // seconds; of the first event, and of the last one
    double last = 0;
    size_t marked = 0;  // these four are sums over the node and all below it, as PendingSum left them
    double tree_first = 0;
    double tree_last = 0;
    bool has_open = false;
};

// The node of an absolute path; null when there is none.
PendingNode *PendingFind(PendingNode &root, std::string_view path);

// The same, made when missing. `made` is increased by the number of new nodes.
PendingNode &PendingMake(PendingNode &root, std::string_view path, double now, size_t &made);

// Does a node above the path, or the path's own, have the mark?
bool PendingIsBelowMark(const PendingNode &root, std::string_view path, unsigned mark);

// Takes a node with all below it out of the tree; null when there is none. Empty folders above it go too.
std::unique_ptr<PendingNode> PendingTake(PendingNode &root, std::string_view path);

// Number of nodes at and below.
size_t PendingCount(const PendingNode &node);

// Joins `from`, with all below it, into `into`.
void PendingMerge(PendingNode &into, std::unique_ptr<PendingNode> from);

// Fills in the sums.
void PendingSum(PendingNode &node);

// Removes the nodes below that say nothing.
void PendingPrune(PendingNode &node);
