// How many files a walk meets, and at which place in its order each of them comes.
#pragma once

#include <stdint.h>

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "walk_plan.h"

struct FileTotal {
    int64_t files;
    int64_t bytes;
};

// The files of one or more walks, one behind the other.
class FileCount
{
  public:
    // Walks as the daemon will. Ends early when `stop` becomes true, or when there are more files than can be counted;
    // false then.
    bool Walk(const PlannedWalk &walk, const std::atomic<bool> &stop);

    FileTotal Total() const;

    // What comes before a file, or before all that a folder holds. Paths are those that /proc shows: without symbolic
    // links. Nothing for what the walks did not meet.
    std::optional<FileTotal> Before(std::string_view path) const;

    // What comes before the part of a folder that is being read when the folder's mark stands there.
    std::optional<FileTotal> BeforeMark(std::string_view folder, long mark) const;

  private:
    bool FolderWalk(std::string &path, const std::atomic<bool> &stop);
    bool SortedWalk(std::string &path, const std::atomic<bool> &stop);
    bool EntryTake(std::string &path, const std::string &folder, const char *name,
                   const std::atomic<bool> &stop);
    bool FileTake(std::string_view path, int64_t bytes);

    FileTotal total = {};
    std::unordered_map<uint64_t, FileTotal> places;  // by a hash of the path, or of the path and a mark
};
