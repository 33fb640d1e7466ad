// The heart of the watcher: takes what happened, waits until it has settled, and gives the fewest requests that tell
// the daemon. It has no clock and no disk of its own. Times are seconds since some fixed moment, and never go back.
//
// Requests for what came and went depend on nothing but the tree at the time when the daemon executes them, so they
// may be told in any order. Renames are told first, in the order in which they happened. Where the daemon cannot be
// told by requests what happened, as when a folder went and another one has its name, the folder is to be compared
// with the databases.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "watch/pending_tree.h"
#include "watch/rename_list.h"
#include "watch/request.h"
#include "watch/unfinished.h"

enum LookKind { LOOK_NOTHING, LOOK_FILE, LOOK_FOLDER };

struct Look {
    LookKind kind;         // behind symbolic links
    bool is_link;          // itself
    bool has_other_names;  // a file with hard links
    int64_t size;
};

// The world as the watcher asks about it.
struct PendingWorld {
    std::function<Look(const std::string &path)> look;
    // More than so many files and folders below a folder?
    std::function<bool(const std::string &folder, size_t limit)> holds_more;
    // Does a file of this name get a row?
    std::function<bool(const std::string &path)> is_indexed;
    // Can the daemon be told of the rename as such?
    std::function<bool(const PendingRename &rename)> can_rename;
    // May a folder that was there before be walked as a whole?
    std::function<bool(const std::string &folder)> can_walk;
};

struct PendingLimits {
    double quiet = 2;      // seconds without an event after which something has settled
    double hold = 30;      // seconds after which a folder where something happens all the time is told in parts
    int steady_looks = 5;  // at a file that nobody closes, one each quiet time, before its size has settled
    size_t burst = 50;     // changes in one folder that are told one by one
    size_t nodes = 100000;  // held in memory; what exceeds it is told by its folder
};

struct Pending {
    PendingWorld world;
    PendingLimits limits;
    PendingNode root;
    size_t node_count = 0;
    RenameList renames;
    UnfinishedList unfinished;
    uint64_t batch = 0;  // of the requests given last
};

struct PendingDue {
    std::vector<WatchRequest> requests;
    std::vector<std::string> compare;  // folders, once the requests have been executed; "/" is everything
    bool has_other_names = false;      // a file with hard links was among them
};

// What happened. `is_closed` false: a writer may still be at it.
void PendingCreated(Pending &pending, const std::string &path, bool is_folder, bool is_closed, double now);
void PendingWritten(Pending &pending, const std::string &path, double now);
void PendingGone(Pending &pending, const std::string &path, bool is_folder, double now);
void PendingMoved(Pending &pending, const PendingRename &rename, double now);

// Forgets what waits at and below a path: it is out of sight, and will be compared when it is back.
void PendingForget(Pending &pending, const std::string &path);

// What has settled by now. `is_last`: everything, whether it has settled or not.
PendingDue PendingTakeDue(Pending &pending, double now, bool is_last = false);

// The requests of this batch, and all before, have been executed.
void PendingExecuted(Pending &pending, uint64_t batch);

bool PendingIsEmpty(const Pending &pending);

// For pending_due.cc: the node of a path, with an event now, and what is or was there.
PendingNode &PendingNodeAt(Pending &pending, const std::string &path, double now);
void PendingCame(PendingNode &node, bool is_folder, bool is_closed);
void PendingWent(PendingNode &node, bool is_folder);
