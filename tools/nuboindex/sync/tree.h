// What the tree says: every folder and file that the daemon's own walk would come to, under the same names.
#pragma once

#include <stdint.h>
#include <sys/stat.h>

#include <functional>
#include <string>
#include <string_view>

struct TreeFile {
    const std::string &path;
    std::string_view name;
    int kind;  // of the media database; files without one are not visited
    const struct statx &status;
};

struct TreeVisit {
    std::function<void(const TreeFile &file)> file;
    std::function<void(const std::string &path)> folder;
    std::function<void(const std::string &path)> unreadable;  // what is below it is unknown, at least in part
    std::function<void(const std::string &path)>
        vanished;  // a folder that was there a moment before, or the path itself
};

// Walks what a path names, a single file too. Symbolic links are followed; one that leads back to a folder above it
// ends there, because the names below it have no end. What vanishes
// meanwhile is passed over.
void TreeWalk(const std::string &path, const TreeVisit &visit);

// The status of what a path names behind all links: size, times, type, identity. 0, or -1 with errno.
int PathStatus(const std::string &path, struct statx *status);

// After a failed PathStatus: there is nothing, as opposed to something that cannot be looked at.
bool IsNothingThere(int error);
