#include "watch/sight.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>

#include "paths_below.h"
#include "sync/file_kind.h"

static bool IsIndexedName(const std::string &path)
{
    return MediaKindOfName(path.substr(path.rfind('/') + 1)) >= 0;
}

static bool IsLink(const std::string &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

static bool IsFolderBehind(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

static bool IsRoot(const Sight &sight, const std::string &name)
{
    return std::find(sight.roots.begin(), sight.roots.end(), name) != sight.roots.end();
}

static bool ShareAdd(Sight &sight, const std::string &root, std::string &reason)
{
    char *resolved = realpath(root.c_str(), nullptr);
    std::string real = resolved ? resolved : "";
    free(resolved);
    if (real.empty() || !sight.source->Watch(real, true, reason))
        return real.empty();  // it has just gone, and that will be seen
    ViewsShareAdd(sight.views, root);
    sight.roots.push_back(root);
    ViewsLook(sight.views, root, real);
    return true;
}

bool SightOpen(Sight &sight, std::unique_ptr<EventSource> source, const std::vector<ShareSeen> &shares,
               std::string &reason)
{
    sight.source = std::move(source);
    sight.views = Views();
    sight.roots.clear();
    sight.trouble.clear();
    sight.views.target_found = [&sight](const std::string &folder, bool with_folders) {
        std::string why;
        if (!sight.source->Watch(folder, with_folders, why))
            sight.trouble = why;
    };
    for (const ShareSeen &share : shares) {
        if (share.is_present && !ShareAdd(sight, WithoutSlash(share.root), reason))
            return false;
    }
    return true;
}

// A name is there: a file, a folder, or a link to either.
static void NameCame(Sight &sight, const std::string &name, const WatchEvent &event, bool is_closed,
                     Pending &pending, double now)
{
    bool is_link = !event.is_folder && IsLink(event.path);
    bool is_folder = event.is_folder || (is_link && IsFolderBehind(event.path));
    if (event.is_folder || is_link)
        ViewsLook(sight.views, name, event.path);
    if (is_folder || is_link || IsIndexedName(name))
        PendingCreated(pending, name, is_folder, is_closed || is_link, now);
}

// `real` is what went: the thing itself, or what a link of that name leads to, while the link is still there.
static void NameWent(Sight &sight, const std::string &name, const std::string &real, bool is_folder,
                     Pending &pending, double now)
{
    auto link = sight.views.links.find(name);
    bool was_folder = is_folder || ViewsIsFolderLink(sight.views, name);
    if (link == sight.views.links.end() || link->second.target != real)
        ViewsRename(sight.views, name, "");
    if (was_folder || IsIndexedName(name))
        PendingGone(pending, name, was_folder, now);
}

static void NameMoved(Sight &sight, const std::string &old_name, const std::string &new_name,
                      const WatchEvent &event, Pending &pending, double now)
{
    bool is_folder = event.is_folder || ViewsIsFolderLink(sight.views, old_name);
    ViewsRename(sight.views, new_name, "");
    ViewsRename(sight.views, old_name, new_name);
    bool was_indexed = is_folder || IsIndexedName(old_name);
    bool is_indexed = is_folder || IsIndexedName(new_name);
    if (was_indexed && is_indexed)
        PendingMoved(pending, {new_name, old_name, is_folder}, now);
    else if (was_indexed)
        PendingGone(pending, old_name, false, now);
    else
        NameCame(sight, new_name, event, true, pending, now);
    if (!event.is_folder && IsLink(event.path))  // a relative one leads elsewhere from here
        ViewsLook(sight.views, new_name, event.path);
}

static void Moved(Sight &sight, const WatchEvent &event, Pending &pending, double now)
{
    for (const auto &[old_name, new_name] : ViewsNamesOfMove(sight.views, event.old_path, event.path)) {
        if (IsRoot(sight, old_name) || IsRoot(sight, new_name))
            continue;  // the share itself; that is seen otherwise
        if (new_name.empty())
            NameWent(sight, old_name, event.old_path, event.is_folder, pending, now);
        else if (old_name.empty())
            NameCame(sight, new_name, event, true, pending, now);
        else
            NameMoved(sight, old_name, new_name, event, pending, now);
    }
}

// Links to places below a folder that came or went lead somewhere else now, or nowhere.
static void LinksInto(Sight &sight, const std::string &real, Pending &pending, double now)
{
    for (const std::string &link : ViewsLinksInto(sight.views, real)) {
        bool is_folder = ViewsIsFolderLink(sight.views, link) || IsFolderBehind(link);
        struct stat status;
        if (stat(link.c_str(), &status) != 0)
            PendingGone(pending, link, is_folder, now);
        else
            PendingCreated(pending, link, is_folder, true, now);
    }
}

void SightEvent(Sight &sight, const WatchEvent &event, Pending &pending, double now)
{
    if (event.kind == WATCH_MOVED) {
        Moved(sight, event, pending, now);
        if (event.is_folder) {
            LinksInto(sight, event.old_path, pending, now);
            LinksInto(sight, event.path, pending, now);
        }
        return;
    }
    for (const std::string &name : ViewsNamesOf(sight.views, event.path)) {
        if (IsRoot(sight, name))
            continue;
        if (event.kind == WATCH_CREATED)
            NameCame(sight, name, event, false, pending, now);
        else if (event.kind == WATCH_GONE)
            NameWent(sight, name, event.path, event.is_folder, pending, now);
        else if (event.kind == WATCH_WRITTEN && IsIndexedName(name))
            PendingWritten(pending, name, now);
    }
    if (event.is_folder && (event.kind == WATCH_GONE || event.kind == WATCH_CREATED))
        LinksInto(sight, event.path, pending, now);
}
