// Compares the shares with the databases and queues what differs: the quick rescan. Nothing but folders is opened;
// files are told by their names, sizes and times.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

#include "output.h"

struct SyncOptions {
    std::vector<std::string> places;  // "music", "video", "photo", folders inside shares; empty: every share
    bool allow_empty = false;         // what is absent or empty counts as deleted
    bool queue = true;                // false: only report
};

// What differs at one path, or, for a folder that is new or gone as a whole, at and below it.
struct SyncDifference {
    char sign;  // '+' has no row, '-' has one and is gone, '~' has one of another size or time
    std::string path;
    bool is_folder;
    size_t paths;  // files and folders that differ here, itself included
};

struct SyncReport {
    size_t files = 0;  // files that belong into the index
    size_t added = 0;  // files and folders, those inside of new and gone folders included
    size_t removed = 0;
    size_t changed = 0;
    std::vector<SyncDifference> differences;  // in the order of their paths
    size_t requests = 0;                      // lines that mend it; queued, when they were to be
    std::vector<std::string> absent_shares;   // "music"; nothing of them counts as gone
    std::vector<std::string> absent_folders;  // the same for folders inside shares whose disk seems not mounted
    std::vector<std::string> unreadable;      // folders and files; nothing at or below them counts as gone
    std::vector<std::string> cannot_be_queued;  // paths that no request can name
    bool complete = true;                       // nothing was absent, unreadable or impossible to queue
};

// TOOL_OK: compared completely, and what differs is queued when it was to be. TOOL_USAGE: a place is none, nothing was
// done. Otherwise TOOL_FAILED. Why a share is absent, and every other failure, is said on output.err; `output.out` is
// left alone.
int SyncRun(const SyncOptions &options, SyncReport &report, const Output &output);
