// The requests that follow from a comparison.
#pragma once

#include <string>
#include <vector>

#include "sync/compare.h"

struct MendPlan {
    std::vector<std::string> lines;       // of the queue, in their order: what is gone first
    std::vector<std::string> impossible;  // paths that no request names without harming others
};

// `places` are those that were compared; what lies in none of them is left alone.
MendPlan MendPlanMake(const Comparison &comparison, const std::vector<Place> &places);
