// The common end of the sub-commands that ask the daemon for something.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "output.h"

// Tells the daemon that requests are queued. What is to be said of that behind "queued"; empty as a rule.
const char *DaemonWake();

struct RequestWish {
    bool is_waiting = false;  // until the requests are done, with a view of the work
    bool is_quiet = false;    // says nothing but what went wrong
};

// --wait and --quiet.
struct WaitOptions {
    CLI::Option *wait;
    CLI::Option *quiet;

    RequestWish Wish() const;
};
WaitOptions WaitOptionsDefine(CLI::App &command);

// Queues the lines, wakes the daemon, says what became of it, and waits if that is wished. TOOL_OK or TOOL_FAILED.
int RequestsQueue(const std::vector<std::string> &lines, const Output &output, const RequestWish &wish = {});
