// The second half: what has settled becomes requests.
#include "paths_below.h"
#include "watch/pending.h"

static constexpr size_t UNFINISHED_MAX = 50000;
static constexpr double RENAMES_HOLD = 2;  // quiet times; other requests wait for the renames

struct Telling {
    Pending &pending;
    PendingDue &due;
    double now;
    bool is_last;
};

static bool IsQuiet(const Telling &telling, double last)
{
    return telling.is_last || telling.now - last >= telling.pending.limits.quiet;
}

static bool IsHeld(const Telling &telling, double first)
{
    return telling.now - first >= telling.pending.limits.hold;
}

static bool IsTreeSettled(const Telling &telling, const PendingNode &node)
{
    if (telling.is_last || IsHeld(telling, node.tree_first))
        return true;
    return !node.has_open && IsQuiet(telling, node.tree_last);
}

static void Request(Telling &telling, char letter, const std::string &path, const std::string &old_path = "")
{
    telling.due.requests.push_back({letter, path, old_path});
    if (letter == 'D')
        telling.pending.unfinished.insert({path, {telling.pending.batch + 1, ""}});
}

// Nobody has closed the file yet. It has settled when its size stays the same, or when it never was a file that
// somebody writes.
static bool OpenSettles(Telling &telling, PendingNode &node, const std::string &path)
{
    if (telling.is_last)
        return true;
    if (!IsQuiet(telling, node.last))
        return false;
    Look look = telling.pending.world.look(path);
    if (look.kind != LOOK_FILE || look.is_link || look.has_other_names)
        return true;
    node.last = telling.now;
    node.steady_looks = look.size == node.size ? node.steady_looks + 1 : 0;
    node.size = look.size;
    return node.steady_looks >= telling.pending.limits.steady_looks;
}

static bool FileSettles(Telling &telling, PendingNode &node, const std::string &path)
{
    if (!(node.marks & MARK_OPEN))
        return IsQuiet(telling, node.last);
    if (!OpenSettles(telling, node, path))
        return false;
    node.marks &= ~static_cast<unsigned>(MARK_OPEN);
    node.last = telling.now - telling.pending.limits.quiet;
    return true;
}

static void FileTell(Telling &telling, PendingNode &node, const std::string &path)
{
    Look look = telling.pending.world.look(path);
    bool is_indexed = telling.pending.world.is_indexed(path);
    if (look.kind == LOOK_FOLDER)
        Request(telling, 'A', path);
    else if (look.kind == LOOK_FILE && is_indexed)
        Request(telling, 'a', path);
    else if (look.kind == LOOK_NOTHING)
        Request(telling, is_indexed ? 'd' : 'D', path);
    telling.due.has_other_names |= look.has_other_names && is_indexed;
    node.marks &= MARK_COMPARE;
}

static void GoneTell(Telling &telling, PendingNode &node, const std::string &path)
{
    Look look = telling.pending.world.look(path);
    bool is_indexed = telling.pending.world.is_indexed(path);
    if (look.kind == LOOK_NOTHING) {
        if (node.marks & MARK_GONE_FOLDER)
            Request(telling, 'D', path);
        if ((node.marks & MARK_GONE_FILE) && is_indexed)
            Request(telling, 'd', path);
    } else {  // something is back; what was there before may have left rows
        if (look.kind == LOOK_FOLDER || is_indexed)
            Request(telling, look.kind == LOOK_FOLDER ? 'A' : 'a', path);
        if (look.kind == LOOK_FOLDER || (node.marks & MARK_GONE_FOLDER))
            telling.due.compare.push_back(path);
    }
    node.marks &= MARK_COMPARE;
}

// The walk of a folder above finds everything that has settled by now.
static void CoveredDrop(const Telling &telling, PendingNode &folder)
{
    for (auto &[name, child] : folder.children) {
        static constexpr unsigned COVERED = MARK_NEW | MARK_CHANGED | MARK_WALK;
        if (!(child->marks & ~COVERED) && IsQuiet(telling, child->last))
            child->marks = 0;
        CoveredDrop(telling, *child);
    }
}

static void WalkTell(Telling &telling, PendingNode &node, const std::string &path)
{
    Look look = telling.pending.world.look(path);
    if (look.kind == LOOK_FOLDER) {
        Request(telling, 'A', path);
        CoveredDrop(telling, node);
    } else if (look.kind == LOOK_FILE && telling.pending.world.is_indexed(path)) {
        Request(telling, 'a', path);
    } else if (look.kind == LOOK_NOTHING) {
        Request(telling, 'D', path);
    }
    node.marks &= MARK_COMPARE;
}

static void OpenFilesLook(Telling &telling, PendingNode &node, const std::string &path)
{
    node.has_open = false;
    if (node.marks & MARK_OPEN)
        node.has_open = !FileSettles(telling, node, path);
    for (auto &[name, child] : node.children) {
        if (child->has_open)
            OpenFilesLook(telling, *child, path + '/' + name);
        node.has_open |= child->has_open;
    }
}

static bool IsBurstGoingOn(const Telling &telling, const PendingNode &folder)
{
    if (telling.is_last || folder.children.size() <= telling.pending.limits.burst)
        return false;
    double last = 0;
    for (const auto &[name, child] : folder.children)
        last = child->marks ? std::max(last, child->last) : last;
    return !IsQuiet(telling, last) && !IsHeld(telling, folder.tree_first);
}

// A walk reads again what has not changed. It is worth that when at least half of what is there has changed.
static bool IsWalkWorth(const Telling &telling, const PendingNode &folder, const std::string &path)
{
    const Pending &pending = telling.pending;
    if (folder.children.size() <= pending.limits.burst || !pending.world.can_walk(path))
        return false;
    size_t changed = 0;
    for (const auto &[name, child] : folder.children)
        changed += (child->marks & (MARK_CHANGED | MARK_WALK)) && !(child->marks & MARK_OPEN);
    return changed > pending.limits.burst && !pending.world.holds_more(path, 2 * changed);
}

static void NodeTell(Telling &telling, PendingNode &node, const std::string &path)
{
    if (node.marks & MARK_WALK) {
        if (node.has_open)
            OpenFilesLook(telling, node, path);
        if (!IsTreeSettled(telling, node))
            return;
    }
    if ((node.marks & MARK_COMPARE) && IsTreeSettled(telling, node)) {
        telling.due.compare.push_back(path.empty() ? "/" : path);
        node.marks &= ~static_cast<unsigned>(MARK_COMPARE);
    }
    if (node.marks & MARK_WALK)
        WalkTell(telling, node, path);
    else if ((node.marks & MARKS_GONE) && IsQuiet(telling, node.last))
        GoneTell(telling, node, path);
    else if ((node.marks & MARK_CHANGED) && FileSettles(telling, node, path))
        FileTell(telling, node, path);

    if (IsBurstGoingOn(telling, node))
        return;
    if (IsWalkWorth(telling, node, path))
        WalkTell(telling, node, path);
    for (auto &[name, child] : node.children)
        NodeTell(telling, *child, path + '/' + name);
}

static bool AreRenamesDue(const Telling &telling)
{
    const RenameList &renames = telling.pending.renames;
    if (RenamesEmpty(renames) || IsQuiet(telling, renames.last))
        return true;
    return telling.now - renames.first >= RENAMES_HOLD * telling.pending.limits.quiet;
}

static void AsTwoTell(Telling &telling, const PendingRename &rename, const Look &look)
{
    const PendingWorld &world = telling.pending.world;
    if (rename.is_folder || world.is_indexed(rename.old_path))
        PendingWent(PendingNodeAt(telling.pending, rename.old_path, telling.now), rename.is_folder);
    if (look.kind != LOOK_NOTHING && (rename.is_folder || world.is_indexed(rename.new_path)))
        PendingCame(PendingNodeAt(telling.pending, rename.new_path, telling.now), rename.is_folder, true);
}

static void RenameTell(Telling &telling, const PendingRename &rename)
{
    Pending &pending = telling.pending;
    Look look = pending.world.look(rename.new_path);
    bool is_indexed = rename.is_folder ||
                      (pending.world.is_indexed(rename.old_path) && pending.world.is_indexed(rename.new_path));
    if (!is_indexed || look.kind != (rename.is_folder ? LOOK_FOLDER : LOOK_FILE) ||
        !pending.world.can_rename(rename)) {
        AsTwoTell(telling, rename, look);
        return;
    }
    Request(telling, 'N', rename.new_path, rename.old_path);
    telling.due.has_other_names |= look.has_other_names;
    if (rename.is_folder)
        pending.unfinished.insert({rename.new_path, {pending.batch + 1, rename.old_path}});
    LookKind old_kind =
        pending.world.look(rename.old_path).kind;  // what is there now has no rows yet, or loses them
    if (old_kind != LOOK_NOTHING)
        PendingCame(PendingNodeAt(pending, rename.old_path, telling.now), old_kind == LOOK_FOLDER, true);
}

PendingDue PendingTakeDue(Pending &pending, double now, bool is_last)
{
    PendingDue due;
    Telling telling = {pending, due, now, is_last};
    if (!AreRenamesDue(telling))
        return due;
    for (const PendingRename &rename : RenamesTake(pending.renames))
        RenameTell(telling, rename);
    PendingSum(pending.root);
    NodeTell(telling, pending.root, "");
    PendingPrune(pending.root);
    pending.node_count = PendingCount(pending.root);
    if (pending.unfinished.size() > UNFINISHED_MAX) {
        pending.unfinished.clear();
        due.compare = {"/"};
    }
    if (!due.requests.empty())
        pending.batch++;
    return due;
}
