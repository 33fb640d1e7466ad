// What a probe child may take before it is killed. The values are an open end of their own, linked by the
// daemon, so that a test can link shorter ones.
#pragma once

struct ProbeLimits {
    long poll_nanoseconds;  // one tick of the watchdog, below one second
    int polls_max;          // killed when the tick counter is above this
    double memory_share;    // of the machine's memory
};

extern const ProbeLimits PROBE_LIMITS;
