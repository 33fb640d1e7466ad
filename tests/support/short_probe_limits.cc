// A watchdog that loses its patience after half a second, so that a test can wait for it.
#include "video/probe_limits.h"

const ProbeLimits PROBE_LIMITS = {10000000, 50, 0.5};
