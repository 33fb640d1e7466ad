// What the running watcher says about itself, for `nuboindex status`: a small file, held locked while it runs, so that
// one of a killed watcher is not believed.
#pragma once

#include <string>
#include <vector>

#include "json_text.h"

struct WatchState {
    int pid = 0;
    std::string source;               // "fanotify" or "inotify"
    std::vector<std::string> shares;  // that are watched: "music"
    std::vector<std::string> absent;
    bool is_working = false;  // changes wait to settle or to be executed
    std::string degraded;     // why the index may differ from the shares; empty: it does not
    std::string limit;        // what cannot be watched, and why; empty: all is
};

// Opens and locks the file. -1, with a reason, when it cannot, or when another watcher runs.
int WatchStateOpen(std::string &reason);

// False, with errno: it could not be written.
bool WatchStateWrite(int descriptor, const WatchState &state);

// False: no watcher is running.
bool WatchStateRead(WatchState &state);

// For people.
std::string WatchStateTextOf(const WatchState &state);

// Of the running watcher: "watching 3 shares (fanotify)", "degraded: ...", "not running".
std::string WatchStateText();

// For programs: null when it is not running.
Json WatchStateJson();
