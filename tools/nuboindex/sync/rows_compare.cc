// The databases' side: rows that the walk has not seen. A row counts as gone only when its own path, asked for once
// more, names nothing; whatever cannot be looked at keeps its rows.
#include <errno.h>
#include <sys/stat.h>

#include "paths_below.h"
#include "sync/compare.h"
#include "sync/file_kind.h"
#include "sync/file_time.h"
#include "sync/mount_point.h"
#include "sync/tree.h"

static constexpr std::string_view ATTRIBUTE_FOLDER = "@eaDir";

// What the row before had turned out to be. Rows come in the order of their paths, so that those of a folder that is
// gone follow one another.
struct GoneFolder {
    std::string top;     // the uppermost folder of the place that is gone; empty: none yet
    std::string parent;  // an existing folder that has lost something
    bool is_unmounted;   // that folder
};

bool IsKept(const Comparison &comparison, std::string path)
{
    for (; !path.empty() && !comparison.kept.empty(); path = ParentOf(path)) {
        if (comparison.kept.contains(path))
            return true;
    }
    return false;
}

static void Unreadable(Comparison &comparison, const std::string &path)
{
    if (comparison.kept.insert(path).second)
        comparison.unreadable.push_back(path);
}

static void Absent(Comparison &comparison, const std::string &folder)
{
    if (comparison.kept.insert(folder).second)
        comparison.absent_folders.push_back(folder);
}

// The uppermost folder of the share that is gone with the path. Empty when one above it cannot be looked at.
static std::string GoneTop(Comparison &comparison, const Place &place, std::string path)
{
    std::string limit = WithoutSlash(place.share->root);
    while (path.size() > limit.size()) {
        std::string parent = ParentOf(path);
        struct statx status;
        if (parent.empty() || PathStatus(parent, &status) == 0)
            break;
        if (!IsNothingThere(errno)) {
            Unreadable(comparison, parent);
            return "";
        }
        path = parent;
    }
    return path;
}

static bool IsLinkToNothing(const std::string &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// Does it look as if a disk were missing rather than files? `top` is what is gone.
static bool IsDiskMissing(Comparison &comparison, const std::string &top, bool is_folder, GoneFolder &gone)
{
    if (comparison.allow_empty)
        return false;
    if (is_folder && IsLinkToNothing(top)) {
        Absent(comparison, top);
        return true;
    }
    std::string parent = ParentOf(top);
    if (gone.parent != parent)
        gone.is_unmounted = IsUnmounted(comparison.rows, parent);
    gone.parent = parent;
    if (gone.is_unmounted)
        Absent(comparison, parent);
    return gone.is_unmounted;
}

static void GoneFound(Comparison &comparison, const std::string &path, bool is_folder, const std::string &top,
                      bool is_reachable)
{
    bool is_tree = is_folder || top != path || path.find(ATTRIBUTE_FOLDER) != std::string::npos;
    unsigned cure = !is_reachable ? CURE_GALLERY : is_tree ? CURE_TREE : CURE_SINGLE;
    comparison.findings.push_back({'-', path, is_folder, cure, top});
}

// A path that is missing proves nothing unless its share was there at that very moment, before and after.
static bool IsShareThere(Comparison &comparison, const Share &share)
{
    if (share.state != SHARE_PRESENT || IsShareUnchanged(share))
        return true;
    Unreadable(comparison, WithoutSlash(share.root));
    return false;
}

static void GoneCompare(Comparison &comparison, const Place &place, const std::string &path, bool is_folder,
                        bool is_reachable, GoneFolder &gone)
{
    if (gone.top.empty() || !IsAtOrBelow(path, gone.top)) {
        std::string top = GoneTop(comparison, place, path);
        if (top.empty() || !IsShareThere(comparison, *place.share) ||
            IsDiskMissing(comparison, top, is_folder || top != path, gone))
            return;
        std::string limit = WithoutSlash(place.folder);
        gone.top = top.size() < limit.size() ? limit : top;
    }
    GoneFound(comparison, path, is_folder, gone.top, is_reachable);
}

static void Changed(Comparison &comparison, const std::string &path, bool is_folder, unsigned cure,
                    const std::string &top)
{
    comparison.findings.push_back({'~', path, is_folder, cure, top});
}

static void GalleryRowCompare(Comparison &comparison, const IndexRow &row, const std::string &path,
                              const struct statx &status)
{
    std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
    GalleryRow wanted = GalleryRowOf(comparison.gallery, path, name, status.stx_size);
    if (S_ISDIR(status.stx_mode) || wanted == GALLERY_NEVER)
        Changed(comparison, path, false, CURE_GALLERY, path);
    else if (wanted != GALLERY_NO_MATTER && !GalleryRowMatches(row, status))
        Changed(comparison, path, false, TakesSingle(comparison.gallery, path) ? CURE_SINGLE : CURE_GALLERY,
                path);
}

// The row stands for something that is there, but not where the walk comes, or no longer of the row's kind. Requests
// have brought it there, so it stays; only its values are kept in step.
static void PresentCompare(Comparison &comparison, RowTable table, const IndexRow &row, const std::string &path,
                           const struct statx &status)
{
    bool is_folder = S_ISDIR(status.stx_mode);
    if (table == ROWS_GALLERY) {
        GalleryRowCompare(comparison, row, path, status);
    } else if (table == ROWS_DIRECTORY) {
        if (!is_folder)
            Changed(comparison, path, true, CURE_REFILL, ParentOf(path));
    } else if (is_folder) {
        Changed(comparison, path, false, CURE_REFILL, path);
    } else {
        int kind = MediaKindOfName(std::string_view(path).substr(path.rfind('/') + 1));
        bool is_own = kind >= 0 && RowTableOfKind(kind) == table && !IsLeftOut(kind, path, status);
        if (is_own && !MediaRowMatches(row, path, status))
            Changed(comparison, path, false, CURE_SINGLE, path);
    }
}

static void RowCompare(Comparison &comparison, const Place &place, RowTable table, const IndexRow &row,
                       GoneFolder &gone)
{
    std::string path(row.path);
    if (row.is_seen || IsKept(comparison, path))
        return;
    struct statx status;
    bool is_reachable = table != ROWS_GALLERY || TakesSingle(comparison.gallery, path);
    if (PathStatus(path, &status) == 0)
        PresentCompare(comparison, table, row, path, status);
    else if (IsNothingThere(errno))
        GoneCompare(comparison, place, path, table == ROWS_DIRECTORY, is_reachable, gone);
    else
        Unreadable(comparison, path);
}

// An album may stand for anything that bears its name: a passing resynchronisation is not choosy.
static void AlbumsCompare(Comparison &comparison, const Place &place)
{
    GoneFolder gone = {};
    for (const std::string &album : comparison.gallery.albums) {
        struct stat status;
        if (!IsAtOrBelow(album, WithoutSlash(place.folder)) || IsKept(comparison, album))
            continue;
        if (lstat(album.c_str(), &status) == 0)
            continue;
        if (!IsNothingThere(errno))
            Unreadable(comparison, album);
        else
            GoneCompare(comparison, place, album, true, IsAlbumDepth(comparison.gallery, album), gone);
    }
}

void UnseenRowsCompare(Comparison &comparison, const Place &place)
{
    std::string folder = WithoutSlash(place.folder);
    for (int i = 0; i < ROW_TABLES; i++) {
        auto table = static_cast<RowTable>(i);
        GoneFolder gone = {};
        if (const IndexRow *own = RowFind(comparison.rows, table, folder))
            RowCompare(comparison, place, table, *own, gone);
        for (const IndexRow &row : RowsBelow(comparison.rows, table, folder))
            RowCompare(comparison, place, table, row, gone);
    }
    AlbumsCompare(comparison, place);
}

static bool IsThere(const std::string &path)
{
    struct statx status;
    return PathStatus(path, &status) == 0;
}

void ReturnedKeep(Comparison &comparison)
{
    for (const std::string &folder : comparison.vanished) {
        if (IsThere(folder))
            Unreadable(comparison, folder);
    }
    std::string top;
    bool is_back = false;
    std::erase_if(comparison.findings, [&](const SyncFinding &finding) {
        if (finding.sign != '-' || IsKept(comparison, finding.path))
            return finding.sign == '-';
        if (finding.top != top) {
            top = finding.top;
            is_back = IsThere(top);
        }
        return is_back;
    });
}
