// Where a sub-command prints, and how it ends.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

enum {
    TOOL_OK = 0,
    TOOL_FAILED = 1,  // at least one thing asked for was not done
    TOOL_USAGE = 2,   // the command line was not understood; nothing was done
};

struct Output {
    std::ostream &out;
    std::ostream &err;
    int width;  // columns of the terminal behind `out`; 0 when there is none
};

// Prints "nuboindex: message" on the error stream and returns TOOL_FAILED. The message may hold any byte.
int Complain(const Output &output, std::string_view message);
