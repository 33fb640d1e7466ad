// The guard over a probe child: time and memory.
#pragma once

#include <sys/types.h>

// Waits for the child: its exit status; -1 when it was killed, here or by a signal of its own, or stopped.
int MediaProbeWait(pid_t pid);

// True when the child's resident memory is above the allowed share of the machine's. False as well when either
// figure cannot be read: without /proc there is no memory guard.
bool MediaProbeMemExceeded(pid_t pid);

// Kills the child and reaps it.
void MediaProbeKill(pid_t pid);
