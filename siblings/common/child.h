// Work on foreign files in a process of its own, which may crash, grow or hang without harm.
#pragma once

#include <stddef.h>
#include <sys/resource.h>

#include <functional>

struct ChildLimits {
    unsigned seconds;  // of wall time; the child and all it started are killed then
    rlim_t memory;     // bytes of address space
    rlim_t file_size;  // bytes of a file that it writes
};

enum ChildResult {
    CHILD_DONE,     // ended with 0
    CHILD_FAILED,   // ended otherwise, crashed, was too slow, or could not be started
    CHILD_STOPPED,  // killed because this process is asked to end
};

// Forks a child that runs `work` (which may exec) and ends with its result, and waits for it. The caller must have
// called StopSignalsHold.
ChildResult ChildRun(const ChildLimits &limits, const std::function<int()> &work);
