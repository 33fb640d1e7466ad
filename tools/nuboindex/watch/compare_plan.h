// Comparisons of tree and databases that are due: where requests cannot tell what happened, and where events were
// missed. While one is due or running, the index may differ from the shares, and the reason is shown. What a comparison
// queues is executed later, when the tree may be another; so a second one looks behind the first.
#pragma once

#include <stdint.h>

#include <set>
#include <string>
#include <vector>

#include "watch/sync_child.h"

struct ComparePlan {
    bool is_all = false;
    std::set<std::string> folders;
    std::string reason;        // of the comparison that is due
    uint64_t after_batch = 0;  // requests up to this one are to be executed first, or they would be told twice
    double not_before = 0;
    double retry_seconds = 0;
    bool is_check = false;  // what is due only looks behind another comparison
    bool is_running_check = false;
    int checks = 0;  // in a row
    bool is_running_all = false;
    std::set<std::string> running_folders;
    std::string running_reason;
    std::vector<std::string> absent;  // shares that the last comparison of all found absent
    SyncChild child;
};

// Everything is to be compared; or one folder, "/" being everything.
void PlanAll(ComparePlan &plan, const std::string &reason, uint64_t after_batch);
void PlanFolder(ComparePlan &plan, const std::string &folder, uint64_t after_batch);

// Begins what is due, and ends what has ended. `is_free`: requests that have to come first are executed. True: a
// comparison has ended and has queued requests; PlanCheck is to be told of their batch.
bool PlanStep(ComparePlan &plan, bool is_free, double now);

// Compares the same again, once this batch is executed; but not for ever.
void PlanCheck(ComparePlan &plan, uint64_t after_batch);

// Is a comparison due or running?
bool PlanIsBusy(const ComparePlan &plan);

// Why the index may differ from the shares; empty when nothing is due.
std::string PlanText(const ComparePlan &plan);

void PlanStop(ComparePlan &plan);
