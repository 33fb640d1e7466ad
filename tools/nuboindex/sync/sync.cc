// The steps of a comparison, in their order.
#include "sync/sync.h"

#include <stdlib.h>

#include <algorithm>

#include "common/paths.h"
#include "daemon_process.h"
#include "media_rows.h"
#include "paths_below.h"
#include "platform/media_index.h"
#include "queue_append.h"
#include "sync/compare.h"
#include "sync/file_time.h"
#include "sync/mend.h"

// What one run works on.
struct SyncRunState {
    const SyncOptions &options;
    SyncReport &report;
    const Output &output;
    std::vector<Share> shares;
    std::vector<Place> places;
    Comparison comparison;
};

static void AbsentReport(SyncRunState &run, const Share &share, const std::string &reason)
{
    auto &absent = run.report.absent_shares;
    if (std::find(absent.begin(), absent.end(), share.name) != absent.end())
        return;
    absent.push_back(share.name);
    (void)Complain(run.output, std::string("share ") + share.name + " is absent: " + reason);
}

// Rows of the share's kind that lie in no share: the link was lost, for one that never was leaves none.
static bool HasOrphanRows(const SyncRunState &run, const Share &share)
{
    std::string condition;
    for (const Share &other : run.shares) {
        if (!other.root.empty())
            condition += (condition.empty() ? "" : " or ") +
                         ("path like '" + SqlPatternOf(WithoutSlash(other.root)) + "/%'");
    }
    if (!condition.empty())
        condition = "not (" + condition + ")";
    Query query(MediaInfoDBOpen(share.kind, "count(*) as row_total", condition.c_str(), 0, "", 0, 0, 0));
    if (!query || NUBODBFetchRow(query->result, &query->row) != 0)
        return false;
    const char *count = NUBODBFetchField(query->result, query->row, "row_total");
    return count && atol(count) > 0;
}

// Is the place to be compared? Says why not.
static bool IsPlacePresent(SyncRunState &run, const Place &place)
{
    const Share &share = *place.share;
    if (share.state == SHARE_PRESENT)
        return true;
    if (share.state == SHARE_ABSENT && run.options.allow_empty && !share.root.empty() && share.root[0] == '/')
        return true;
    if (share.state == SHARE_ABSENT || !run.options.places.empty() || HasOrphanRows(run, share))
        AbsentReport(run, share, share.reason);
    return false;
}

static void AbsentPlacesDrop(SyncRunState &run)
{
    std::erase_if(run.places, [&](const Place &place) { return !IsPlacePresent(run, place); });
    InnerPlacesDrop(run.places);
}

static bool IsConcerned(const Place &place, const Share &share)
{
    std::string folder = WithoutSlash(place.folder), root = WithoutSlash(share.root);
    return IsAtOrBelow(folder, root) || IsAtOrBelow(root, folder);
}

// Shares whose disk may be missing keep their rows, also when they lie inside the place of another one.
static void EmptySharesKeep(SyncRunState &run)
{
    if (run.options.allow_empty)
        return;
    for (const Share &share : run.shares) {
        auto concerns = [&](const Place &place) { return IsConcerned(place, share); };
        if (share.root.empty() || std::none_of(run.places.begin(), run.places.end(), concerns))
            continue;
        std::string root = WithoutSlash(share.root);
        if (share.state == SHARE_PRESENT) {
            if (!IsRootEmpty(share) || !AllRowsUnseen(run.comparison.rows, root))
                continue;
            AbsentReport(run, share,
                         share.root + " is empty, but the index has rows for it (see --allow-empty)");
        } else {
            AbsentReport(run, share, share.reason);
        }
        run.comparison.kept.insert(root);
    }
}

static bool RowsRead(SyncRunState &run)
{
    std::vector<std::string> folders;
    for (const Place &place : run.places)
        folders.push_back(place.folder);
    if (!GalleryRead(run.shares, run.comparison.gallery))
        return Complain(run.output, PHOTO_DATABASE_UNREADABLE) == TOOL_OK;
    if (!IndexRowsRead(folders, run.comparison.gallery.is_used, run.comparison.rows))
        return Complain(run.output, "a database cannot be read; the system log says why") == TOOL_OK;
    return true;
}

// A disk that went away during the walk takes nothing along.
static void VanishedSharesKeep(SyncRunState &run)
{
    for (const Share &share : run.shares) {
        if (share.state != SHARE_PRESENT || IsShareUnchanged(share))
            continue;
        std::string root = WithoutSlash(share.root);
        auto lies_inside = [&](const SyncFinding &finding) { return IsAtOrBelow(finding.path, root); };
        if (std::erase_if(run.comparison.findings, lies_inside) == 0)
            continue;
        run.comparison.kept.insert(root);
        AbsentReport(run, share, share.root + " changed while it was read");
    }
}

static void Compare(SyncRunState &run)
{
    for (const Place &place : run.places)
        TreeCompare(run.comparison, place);
    EmptySharesKeep(run);
    for (const Place &place : run.places)
        UnseenRowsCompare(run.comparison, place);
    ReturnedKeep(run.comparison);
    VanishedSharesKeep(run);
    FindingsFold(run.comparison);
}

static void DifferenceCount(SyncReport &report, const SyncFinding &finding)
{
    size_t &count = finding.sign == '+' ? report.added : finding.sign == '-' ? report.removed : report.changed;
    count++;
    bool is_refill = finding.cures & CURE_REFILL;
    const std::string &path = is_refill ? finding.path : finding.top;
    auto &differences = report.differences;
    if (!differences.empty() && differences.back().sign == finding.sign && differences.back().path == path)
        differences.back().paths++;
    else
        differences.push_back({finding.sign, path, finding.is_folder || path != finding.path, 1});
}

static void ReportFill(SyncRunState &run, const MendPlan &plan)
{
    SyncReport &report = run.report;
    report.files = run.comparison.files;
    for (const SyncFinding &finding : run.comparison.findings)
        DifferenceCount(report, finding);
    report.absent_folders = run.comparison.absent_folders;
    report.unreadable = run.comparison.unreadable;
    report.cannot_be_queued = plan.impossible;
    for (auto *paths : {&report.absent_folders, &report.unreadable})
        std::sort(paths->begin(), paths->end());
    report.requests = plan.lines.size();
    report.complete = report.absent_shares.empty() && report.absent_folders.empty() &&
                      report.unreadable.empty() && report.cannot_be_queued.empty();
}

static int Queue(SyncRunState &run, const MendPlan &plan)
{
    std::string reason;
    run.report.requests = QueueAppend(INDEX_QUEUE_PATH, plan.lines, reason);
    if (run.report.requests > 0)
        (void)DaemonSignal();
    return run.report.requests == plan.lines.size() ? TOOL_OK : Complain(run.output, reason);
}

int SyncRun(const SyncOptions &options, SyncReport &report, const Output &output)
{
    DaemonTimeZone zone;
    report = {};
    SyncRunState run = {options, report, output, SharesRead(), {}, {}};
    std::string reason;
    if (!PlacesChoose(options.places, run.shares, run.places, reason)) {
        (void)Complain(output, reason);
        return TOOL_USAGE;
    }
    run.comparison.allow_empty = options.allow_empty;
    AbsentPlacesDrop(run);
    if (!RowsRead(run)) {
        report.complete = false;
        return TOOL_FAILED;
    }
    Compare(run);
    MendPlan plan = MendPlanMake(run.comparison, run.places);
    ReportFill(run, plan);
    if (options.queue && !plan.lines.empty() && Queue(run, plan) != TOOL_OK)
        return TOOL_FAILED;
    return report.complete ? TOOL_OK : TOOL_FAILED;
}
