// The watcher as a whole: events in, requests out, and a comparison wherever events may have been missed.
#pragma once

#include <string>

#include "output.h"

struct WatchOptions {
    double quiet = 2;  // seconds
    bool fanotify = true;
    bool inotify = true;
    bool verbose = false;  // says each request
};

// Runs until SIGTERM or SIGINT. TOOL_OK, or TOOL_FAILED when it could not begin.
int WatcherRun(const WatchOptions &options, const Output &output);
