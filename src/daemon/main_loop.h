// The debounce: a batch starts after the first whole ten-second sleep since the last SIGUSR1, or at once after
// ten thousand of them.
#pragma once

#include <signal.h>
#include <stdint.h>
#include <time.h>

// Written by SetDirty, read afresh on every pass.
extern volatile sig_atomic_t dirty_pending;       // signalled, and no batch has started since
extern volatile sig_atomic_t dirty_recent;        // signalled since the loop last looked
extern volatile sig_atomic_t dirty_signal_count;  // signals since the last batch

// The SIGUSR1 handler. Only stores to the three counters.
void SetDirty(int signal_number);

// What the loop takes from the operating system: sleep(3) and time(2), or a test's own.
struct MainLoopClock {
    unsigned (*sleep)(unsigned seconds);
    time_t (*time)(time_t *out);
};

// Once, before the first pass: vacuums both databases and notes the time.
void MainLoopStart(const MainLoopClock *clock);

// One turn of the loop: one sleep, then at most two batches.
void MainLoopPass(const MainLoopClock *clock);
