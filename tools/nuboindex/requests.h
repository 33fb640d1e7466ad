// The common end of the sub-commands that ask the daemon for something.
#pragma once

#include <string>
#include <vector>

#include "output.h"

// Tells the daemon that requests are queued. What is to be said of that behind "queued"; empty as a rule.
const char *DaemonWake();

// Queues the lines, wakes the daemon and says what became of it. TOOL_OK or TOOL_FAILED.
int RequestsQueue(const std::vector<std::string> &lines, const Output &output);
