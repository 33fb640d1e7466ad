// The first half: what happened.
#include "watch/pending.h"

#include "paths_below.h"

static constexpr size_t RENAMES_MAX = 20000;

// The folder that holds the largest part of what waits, of those that hold no more than a quarter of all there may be.
static PendingNode *FullestFolder(PendingNode &root, size_t largest)
{
    PendingNode *node = &root;
    for (;;) {
        PendingNode *fullest = nullptr;
        size_t most = 0;
        for (auto &[name, child] : node->children) {
            size_t count = child->children.empty() ? 0 : PendingCount(*child);
            if (count > most) {
                most = count;
                fullest = child.get();
            }
        }
        if (!fullest)
            return node;
        node = fullest;
        if (most <= largest)
            return node;
    }
}

// Too much to remember name by name: folders are to be compared as a whole. `node_count` never falls by itself, so
// it is counted again first.
static void MemoryLimit(Pending &pending)
{
    if (pending.node_count <= pending.limits.nodes)
        return;
    pending.node_count = PendingCount(pending.root);
    while (pending.node_count > pending.limits.nodes / 4 * 3) {
        PendingNode *folder = FullestFolder(pending.root, pending.limits.nodes / 4 + 1);
        if (folder->children.empty())
            return;
        folder->children.clear();
        folder->marks |= MARK_COMPARE;
        pending.node_count = PendingCount(pending.root);
    }
}

PendingNode &PendingNodeAt(Pending &pending, const std::string &path, double now)
{
    PendingNode &node = PendingMake(pending.root, path, now, pending.node_count);
    node.last = now;
    return node;
}

// Something is at the path now. What else had the name before, and went, may have left rows.
void PendingCame(PendingNode &node, bool is_folder, bool is_closed)
{
    bool was_folder = node.marks & MARK_GONE_FOLDER;
    bool was_file = node.marks & MARK_GONE_FILE;
    if (was_folder || (was_file && is_folder))
        node.marks |= MARK_COMPARE;
    node.marks &= ~MARKS_GONE;
    if (is_folder)
        node.marks |= MARK_WALK;
    else
        node.marks |= MARK_CHANGED | (is_closed ? 0U : MARK_OPEN);
}

// Something is no longer at the path, whatever is there now.
void PendingWent(PendingNode &node, bool is_folder)
{
    bool is_back = node.marks & (MARK_CHANGED | MARK_WALK);
    if (!is_back)
        node.marks |= is_folder ? MARK_GONE_FOLDER : MARK_GONE_FILE;
    else if (is_folder || (node.marks & MARK_WALK))
        node.marks |= MARK_COMPARE;
}

static void DeletesSpoil(Pending &pending, const std::string &path, double now)
{
    for (const std::string &folder : UnfinishedDeletes(pending.unfinished, path))
        PendingNodeAt(pending, folder, now).marks |= MARK_COMPARE;
}

// The daemon takes a rename whose new path is gone for that of a file, and matches rows by how their paths begin. So
// rows beside the two paths may be hit too.
static void RenamesSpoil(Pending &pending, const std::string &path, double now)
{
    for (const auto &[new_path, old_path] : UnfinishedRenames(pending.unfinished, path)) {
        PendingNodeAt(pending, ParentOf(new_path), now).marks |= MARK_COMPARE;
        PendingNodeAt(pending, ParentOf(old_path), now).marks |= MARK_COMPARE;
        PendingWent(PendingNodeAt(pending, old_path, now), true);
    }
}

static void BrokenTell(Pending &pending, const std::vector<PendingRename> &broken, double now)
{
    for (const PendingRename &rename : broken) {
        if (rename.old_path != rename.new_path)
            PendingWent(PendingNodeAt(pending, rename.old_path, now), rename.is_folder);
        PendingCame(PendingNodeAt(pending, rename.new_path, now), rename.is_folder, true);
    }
}

// Something else has come to the path, or nothing is there any more.
static void RenamesTo(Pending &pending, const std::string &path, bool is_folder, double now)
{
    std::vector<PendingRename> broken;
    RenamesDestroy(pending.renames, path, is_folder, broken);
    for (const PendingRename &rename : broken)
        PendingWent(PendingNodeAt(pending, rename.old_path, now), rename.is_folder);
}

void PendingCreated(Pending &pending, const std::string &path, bool is_folder, bool is_closed, double now)
{
    DeletesSpoil(pending, path, now);
    bool is_known = PendingFind(pending.root, path) != nullptr;
    PendingNode &node = PendingNodeAt(pending, path, now);
    PendingCame(node, is_folder, is_closed);
    if (!is_known && !is_closed)
        node.marks |= MARK_NEW;
    MemoryLimit(pending);
}

void PendingWritten(Pending &pending, const std::string &path, double now)
{
    PendingNode &node = PendingNodeAt(pending, path, now);
    PendingCame(node, false, true);
    node.marks &= ~static_cast<unsigned>(MARK_OPEN);
    MemoryLimit(pending);
}

void PendingGone(Pending &pending, const std::string &path, bool is_folder, double now)
{
    RenamesTo(pending, path, is_folder, now);
    RenamesSpoil(pending, path, now);
    unsigned before = 0;
    if (const std::unique_ptr<PendingNode> known = PendingTake(pending.root, path))
        before = known->marks & MARK_COMPARE ? MARKS_GONE : known->marks & MARKS_GONE;
    PendingNodeAt(pending, path, now).marks = before | (is_folder ? MARK_GONE_FOLDER : MARK_GONE_FILE);
    MemoryLimit(pending);
}

// What waited for the thing under its old name waits for it under the new one.
static void NodesFollow(Pending &pending, const PendingRename &rename, double now)
{
    std::unique_ptr<PendingNode> moved = PendingTake(pending.root, rename.old_path);
    if (!moved)
        return;
    moved->marks &= ~static_cast<unsigned>(MARK_NEW);
    PendingMerge(PendingNodeAt(pending, rename.new_path, now), std::move(moved));
}

void PendingMoved(Pending &pending, const PendingRename &rename, double now)
{
    RenamesTo(pending, rename.new_path, false, now);
    RenamesSpoil(pending, rename.old_path, now);
    DeletesSpoil(pending, rename.new_path, now);
    PendingNode *old_node = PendingFind(pending.root, rename.old_path);
    bool is_new = old_node && (old_node->marks & MARK_NEW);
    bool is_to_compare = old_node && (old_node->marks & MARK_COMPARE);
    PendingNode *replaced = PendingFind(pending.root, rename.new_path);
    if (replaced && (replaced->marks & MARKS_GONE))
        PendingCame(*replaced, rename.is_folder, true);
    bool is_stop = pending.renames.by_new_path.count(rename.old_path);
    NodesFollow(pending, rename, now);
    std::vector<PendingRename> broken;
    if (is_new || is_to_compare || pending.renames.renames.size() >= RENAMES_MAX)
        broken.push_back(rename);
    else
        RenameAdd(pending.renames, rename, now, broken);
    BrokenTell(pending, broken, now);
    if (is_stop)  // a walk may have come along meanwhile
        PendingWent(PendingNodeAt(pending, rename.old_path, now), rename.is_folder);
    if (is_to_compare)  // whatever it was that had the old name before
        PendingNodeAt(pending, rename.old_path, now).marks |= MARKS_GONE;
    MemoryLimit(pending);
}

void PendingForget(Pending &pending, const std::string &path)
{
    (void)PendingTake(pending.root, path);
    std::vector<PendingRename> ignored;
    RenamesDestroy(pending.renames, path, true, ignored);
    for (PendingRename &rename : pending.renames.renames) {
        if (!rename.is_dropped && IsAtOrBelow(rename.old_path, path)) {
            rename.is_dropped = true;
            pending.renames.by_new_path.erase(rename.new_path);
        }
    }
}

void PendingExecuted(Pending &pending, uint64_t batch)
{
    UnfinishedForget(pending.unfinished, batch);
}

bool PendingIsEmpty(const Pending &pending)
{
    return pending.root.children.empty() && !pending.root.marks && RenamesEmpty(pending.renames);
}
