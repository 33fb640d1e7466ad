// Looks on while the daemon works.
#pragma once

#include "output.h"
#include "progress/request_wait.h"

struct FollowWish {
    bool is_quiet;
    bool is_endless;    // goes on when nothing is left to do
    RequestWait *wait;  // until these requests are done; null: until nothing is left to do
};

// TOOL_OK when what was waited for is done; TOOL_FAILED, with the reason said, when the daemon is not there to do it.
// A signal that asks the program to end does so, after the terminal was put in order; the batch goes on.
int Follow(const FollowWish &wish, const Output &output);
