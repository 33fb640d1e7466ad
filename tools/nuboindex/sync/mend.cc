// Most differences have a request of their own. A path that a line of the queue cannot hold (a line feed, too many
// bytes) is reached through a folder above it: reading that folder again adds it, refilling that folder forgets it. To
// refill is to rename a folder to its own name: its rows are forgotten and made anew.
#include "sync/mend.h"

#include <algorithm>
#include <unordered_set>

#include "paths_below.h"
#include "queue_line.h"

struct MendLines {
    std::vector<std::string> gone, refills, adds;
    std::unordered_set<std::string> known;
    bool rebuilds_gallery;
    std::vector<std::string> impossible;
};

static void LineAdd(MendLines &lines, std::vector<std::string> &group, const std::string &line)
{
    if (lines.known.insert(line).second)
        group.push_back(line);
}

static const Place *PlaceOf(const std::vector<Place> &places, const std::string &path)
{
    for (const Place &place : places) {
        if (IsAtOrBelow(path, WithoutSlash(place.folder)))
            return &place;
    }
    return nullptr;
}

static bool HoldsKept(const Comparison &comparison, const std::string &folder)
{
    return std::any_of(comparison.kept.begin(), comparison.kept.end(), [&](const std::string &kept) {
        return IsAtOrBelow(kept, folder) || IsAtOrBelow(folder, kept);
    });
}

// Calls `line_of` for the folder and those above it inside the place, until one can be expressed.
template <typename LineOf>
static std::optional<std::string> LineUpwards(const Place &place, std::string folder, LineOf line_of)
{
    std::string limit = WithoutSlash(place.folder);
    for (; !folder.empty() && IsAtOrBelow(folder, limit); folder = ParentOf(folder)) {
        std::optional<std::string> line = line_of(folder);
        if (line)
            return line;
    }
    return std::nullopt;
}

static bool RefillAdd(const Comparison &comparison, const Place &place, const std::string &folder,
                      MendLines &lines)
{
    std::optional<std::string> line = LineUpwards(place, folder, [&](const std::string &path) {
        std::string ignored;
        return HoldsKept(comparison, path) ? std::nullopt : QueueRenameLine(path, path, ignored);
    });
    if (line)
        LineAdd(lines, lines.refills, *line);
    return line.has_value();
}

// What is gone no longer exists, so the folder that is refilled is one above it.
static bool GoneAdd(const Comparison &comparison, const Place &place, const SyncFinding &finding,
                    MendLines &lines)
{
    std::string ignored;
    char letter = finding.cures & CURE_TREE ? 'D' : 'd';
    if (auto line = QueueLine(letter, finding.top, ignored)) {
        LineAdd(lines, lines.gone, *line);
        return true;
    }
    if (TakesSingle(comparison.gallery, finding.path))
        lines.rebuilds_gallery = true;
    return RefillAdd(comparison, place, ParentOf(finding.top), lines);
}

static bool NewAdd(const Place &place, const SyncFinding &finding, MendLines &lines)
{
    std::string ignored;
    std::optional<std::string> line = QueueLine(finding.cures & CURE_TREE ? 'A' : 'a', finding.top, ignored);
    if (!line)
        line = LineUpwards(place, ParentOf(finding.top),
                           [&](const std::string &path) { return QueueLine('A', path, ignored); });
    if (line)
        LineAdd(lines, lines.adds, *line);
    return line.has_value();
}

// The resynchronisation takes away what it does not see, so it is for a share that was seen whole.
static bool IsGallerySeenWhole(const Comparison &comparison, const std::vector<Place> &places)
{
    const std::string &root = comparison.gallery.root;
    return PlaceOf(places, root) && !HoldsKept(comparison, root);
}

static bool FindingAdd(const Comparison &comparison, const Place &place, const SyncFinding &finding,
                       MendLines &lines)
{
    bool done = true;
    if (finding.cures & CURE_REFILL)
        done = RefillAdd(comparison, place, finding.top, lines);
    if (finding.cures & (CURE_SINGLE | CURE_TREE))
        done = (finding.sign == '-' ? GoneAdd(comparison, place, finding, lines)
                                    : NewAdd(place, finding, lines)) &&
               done;
    if (finding.cures & CURE_GALLERY)
        lines.rebuilds_gallery = true;
    return done;
}

MendPlan MendPlanMake(const Comparison &comparison, const std::vector<Place> &places)
{
    MendLines lines = {};
    bool is_gallery_whole = IsGallerySeenWhole(comparison, places);
    for (const SyncFinding &finding : comparison.findings) {
        const Place *place = PlaceOf(places, finding.path);
        bool was_rebuilding = lines.rebuilds_gallery;
        lines.rebuilds_gallery = false;
        bool done = place && FindingAdd(comparison, *place, finding, lines);
        if (!done || (lines.rebuilds_gallery && !is_gallery_whole))
            lines.impossible.push_back(finding.path);
        lines.rebuilds_gallery = lines.rebuilds_gallery || was_rebuilding;
    }
    MendPlan plan = {std::move(lines.gone), std::move(lines.impossible)};
    plan.lines.insert(plan.lines.end(), lines.refills.begin(), lines.refills.end());
    plan.lines.insert(plan.lines.end(), lines.adds.begin(), lines.adds.end());
    if (lines.rebuilds_gallery && is_gallery_whole)
        plan.lines.push_back("R:photo\n");
    return plan;
}
