// The daemon's limits: about ninety seconds, and half of the machine's memory.
#include "video/probe_limits.h"

const ProbeLimits PROBE_LIMITS = {100000000, 900, 0.5};
