// What happened to one name in a folder, as the kernel tells it.
#pragma once

#include <string>

enum WatchEventKind {
    WATCH_CREATED,  // the name came into being; its content may still be written
    WATCH_WRITTEN,  // a writer has closed the file, or its times and rights were changed
    WATCH_GONE,
    WATCH_MOVED,
    WATCH_LOST,  // the kernel could not tell everything, or a folder is no longer watched; `path` says why
};

// Paths are free of symbolic links. A move that begins or ends out of sight has one empty path.
struct WatchEvent {
    WatchEventKind kind;
    bool is_folder;        // itself, not what a symbolic link leads to
    std::string path;      // for a move: the new one
    std::string old_path;  // for a move
};
