// The common end of the sub-commands that ask the daemon for something.
#pragma once

#include <string>
#include <vector>

#include "output.h"

// Queues the lines, wakes the daemon and says what became of it. TOOL_OK or TOOL_FAILED.
int RequestsQueue(const std::vector<std::string> &lines, const Output &output);
