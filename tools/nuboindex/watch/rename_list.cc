// A rename in the list is executed when all of them have happened. So its new path follows the folders around it, and
// its old path must not have become another's new path by then.
#include "watch/rename_list.h"

#include "paths_below.h"

static void RenameDrop(RenameList &list, PendingRename &rename)
{
    rename.is_dropped = true;
    list.by_new_path.erase(rename.new_path);
}

static void RenameBreak(RenameList &list, PendingRename &rename, std::vector<PendingRename> &broken)
{
    broken.push_back(rename);
    RenameDrop(list, rename);
}

static bool AreRelated(const std::string &one, const std::string &other)
{
    return IsAtOrBelow(one, other) || IsAtOrBelow(other, one);
}

// What a later rename takes away from its old path must be there untouched when its turn comes.
static bool IsInTheWayOfLater(const RenameList &list, size_t index)
{
    for (size_t later = index + 1; later < list.renames.size(); later++) {
        const PendingRename &other = list.renames[later];
        if (!other.is_dropped && AreRelated(other.old_path, list.renames[index].new_path))
            return true;
    }
    return false;
}

static void RenameLeadTo(RenameList &list, size_t index, const std::string &new_path,
                         std::vector<PendingRename> &broken)
{
    PendingRename &rename = list.renames[index];
    list.by_new_path.erase(rename.new_path);
    rename.new_path = new_path;
    list.by_new_path[new_path] = index;
    if (rename.new_path == rename.old_path || IsInTheWayOfLater(list, index))
        RenameBreak(list, rename, broken);
}

// The folder was moved, and with it what was moved into it before.
static void RenamesFollow(RenameList &list, const PendingRename &folder, std::vector<PendingRename> &broken)
{
    for (size_t i = 0; i < list.renames.size(); i++) {
        const std::string &path = list.renames[i].new_path;
        if (!list.renames[i].is_dropped && path != folder.old_path && IsAtOrBelow(path, folder.old_path))
            RenameLeadTo(list, i, folder.new_path + path.substr(folder.old_path.size()), broken);
    }
}

void RenameAdd(RenameList &list, const PendingRename &rename, double now, std::vector<PendingRename> &broken)
{
    if (RenamesEmpty(list))
        list.first = now;
    list.last = now;
    if (rename.is_folder)
        RenamesFollow(list, rename, broken);
    auto chained = list.by_new_path.find(rename.old_path);
    if (chained != list.by_new_path.end()) {
        RenameLeadTo(list, chained->second, rename.new_path, broken);
        return;
    }
    list.by_new_path[rename.new_path] = list.renames.size();
    list.renames.push_back(rename);
}

void RenamesDestroy(RenameList &list, const std::string &path, bool is_folder,
                    std::vector<PendingRename> &broken)
{
    auto same = list.by_new_path.find(path);
    if (same != list.by_new_path.end())
        RenameBreak(list, list.renames[same->second], broken);
    if (!is_folder)
        return;
    for (PendingRename &rename : list.renames) {
        if (!rename.is_dropped && IsAtOrBelow(rename.new_path, path))
            RenameBreak(list, rename, broken);
    }
}

bool RenamesEmpty(const RenameList &list)
{
    return list.by_new_path.empty();
}

std::vector<PendingRename> RenamesTake(RenameList &list)
{
    std::vector<PendingRename> taken;
    for (PendingRename &rename : list.renames) {
        if (!rename.is_dropped)
            taken.push_back(std::move(rename));
    }
    list = RenameList();
    return taken;
}
