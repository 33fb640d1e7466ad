#include "watch/compare_plan.h"

#include <errno.h>
#include <string.h>

#include <algorithm>

#include "watch/watch_log.h"

static constexpr size_t FOLDERS_MAX = 200;
static constexpr int CHECKS_MAX = 3;  // a file whose row can never equal it would be asked for without end
static constexpr double RETRY_FIRST = 30, RETRY_MOST = 600;  // seconds

static bool IsDue(const ComparePlan &plan)
{
    return plan.is_all || !plan.folders.empty();
}

void PlanAll(ComparePlan &plan, const std::string &reason, uint64_t after_batch)
{
    plan.is_all = true;
    plan.is_check = false;
    plan.folders.clear();
    plan.reason = reason;
    plan.after_batch = after_batch;
}

void PlanFolder(ComparePlan &plan, const std::string &folder, uint64_t after_batch)
{
    static constexpr char REASON[] = "a folder became another one";
    plan.after_batch = after_batch;
    if (plan.is_all && !plan.is_check)
        return;
    plan.is_check = false;
    plan.reason = REASON;
    if (plan.is_all)
        return;
    plan.folders.insert(folder);
    if (folder == "/" || plan.folders.size() > FOLDERS_MAX)
        PlanAll(plan, REASON, after_batch);
}

static void Start(ComparePlan &plan, double now)
{
    std::vector<std::string> folders(plan.folders.begin(), plan.folders.end());
    if (!SyncChildStart(plan.child, folders)) {
        WatchLog(std::string("cannot synchronise: ") + strerror(errno));
        plan.not_before = now + RETRY_FIRST;
        return;
    }
    plan.is_running_all = plan.is_all;
    plan.running_folders.swap(plan.folders);
    plan.running_reason.swap(plan.reason);
    plan.is_running_check = plan.is_check;
    plan.is_all = plan.is_check = false;
    plan.folders.clear();
    plan.reason.clear();
}

static void Again(ComparePlan &plan, double now)
{
    plan.retry_seconds = std::clamp(plan.retry_seconds * 2, RETRY_FIRST, RETRY_MOST);
    plan.not_before = now + plan.retry_seconds;
    WatchLog("the synchronisation failed; trying again in " +
             std::to_string(static_cast<int>(plan.retry_seconds)) + " seconds");
    plan.is_all |= plan.is_running_all;
    plan.folders.insert(plan.running_folders.begin(), plan.running_folders.end());
    if (plan.is_all)
        plan.folders.clear();
    plan.is_check &= plan.is_running_check;
    if (plan.reason.empty())
        plan.reason = plan.running_reason;
}

void PlanCheck(ComparePlan &plan, uint64_t after_batch)
{
    plan.checks = plan.is_running_check ? plan.checks + 1 : 1;
    if (plan.checks > CHECKS_MAX)
        return;
    plan.is_check = !IsDue(plan);
    if (plan.is_check)
        plan.reason = "what was synchronised is looked at again";
    plan.is_all |= plan.is_running_all;
    plan.folders.insert(plan.running_folders.begin(), plan.running_folders.end());
    if (plan.is_all)
        plan.folders.clear();
    plan.after_batch = after_batch;
}

bool PlanIsBusy(const ComparePlan &plan)
{
    return IsDue(plan) || plan.child.pid != 0;
}

bool PlanStep(ComparePlan &plan, bool is_free, double now)
{
    SyncEnd end = {};
    if (SyncChildEnded(plan.child, end)) {
        if (end.is_done) {
            plan.retry_seconds = 0;
            WatchLog("synchronised after: " + plan.running_reason + "; " + std::to_string(end.requests) +
                     " requests");
        } else {
            Again(plan, now);
        }
        if (end.is_done && plan.is_running_all)
            plan.absent = end.absent;
    }
    if (end.requests > 0 && end.is_done)
        return true;
    if (plan.child.pid == 0 && IsDue(plan) && is_free && now >= plan.not_before)
        Start(plan, now);
    return false;
}

std::string PlanText(const ComparePlan &plan)
{
    if (IsDue(plan) && !plan.is_check)
        return plan.reason + (plan.child.pid ? ", synchronising" : ", about to synchronise");
    return plan.child.pid && !plan.is_running_check ? plan.running_reason + ", synchronising" : "";
}

void PlanStop(ComparePlan &plan)
{
    SyncChildStop(plan.child);
}
