// The tree's side: what has no row, and what has one of another size or time.
#include "index/media_record.h"
#include "index/share_path.h"
#include "paths_below.h"
#include "sync/compare.h"
#include "sync/file_time.h"
#include "sync/tree.h"

static constexpr std::string_view ATTRIBUTE_FOLDER = "@eaDir";

static void Found(Comparison &comparison, char sign, const std::string &path, bool is_folder, unsigned cure)
{
    comparison.findings.push_back({sign, path, is_folder, cure, path});
}

// Pictures below such a name count as stored without a row, and of playlists only regular files get one.
bool IsLeftOut(int kind, const std::string &path, const struct statx &status)
{
    if (kind == MEDIA_KIND_PHOTO)
        return path.find(ATTRIBUTE_FOLDER) != std::string::npos;
    return kind == MEDIA_KIND_PLAYLIST && !S_ISREG(status.stx_mode);
}

static void MediaCompare(Comparison &comparison, const TreeFile &file)
{
    IndexRow *row = RowFind(comparison.rows, RowTableOfKind(file.kind), file.path);
    if (row)
        row->is_seen = true;
    if (IsLeftOut(file.kind, file.path, file.status))
        return;
    comparison.files++;
    if (!row)
        Found(comparison, '+', file.path, false, CURE_SINGLE);
    else if (!MediaRowMatches(*row, file.path, file.status))
        Found(comparison, '~', file.path, false, CURE_SINGLE);
}

static void GalleryCompare(Comparison &comparison, const TreeFile &file)
{
    if (!comparison.gallery.is_used || file.kind != MEDIA_KIND_PHOTO)
        return;
    IndexRow *row = RowFind(comparison.rows, ROWS_GALLERY, file.path);
    if (row)
        row->is_seen = true;
    unsigned cure = TakesSingle(comparison.gallery, file.path) ? CURE_SINGLE : CURE_GALLERY;
    switch (GalleryRowOf(comparison.gallery, file.path, file.name, file.status.stx_size)) {
    case GALLERY_MUST:
        if (!row)
            Found(comparison, '+', file.path, false, cure);
        [[fallthrough]];
    case GALLERY_MAY:
        if (row && !GalleryRowMatches(*row, file.status))
            Found(comparison, '~', file.path, false, cure);
        break;
    case GALLERY_NEVER:
        if (row)
            Found(comparison, '~', file.path, false, CURE_GALLERY);
        break;
    case GALLERY_NO_MATTER:
        break;
    }
}

static void FolderCompare(Comparison &comparison, const std::string &path)
{
    IndexRow *row = RowFind(comparison.rows, ROWS_DIRECTORY, path);
    if (row)
        row->is_seen = true;
    const Gallery &gallery = comparison.gallery;
    bool is_album = IsAlbumFolder(gallery, path);
    if (IsAlbumDepth(gallery, path) && !is_album)
        return;  // a request for its row would show it in the gallery
    if (!row || (is_album && !gallery.albums.contains(path)))
        Found(comparison, '+', path, true, CURE_SINGLE);
}

// Folders that the daemon's walk never enters may be named as places.
static bool IsPassedOver(const Place &place)
{
    std::string below = place.folder.substr(WithoutSlash(place.share->root).size()) + '/';
    return below.find("/@eaDir/") != std::string::npos || IsRecycleBinPath(place.folder.c_str());
}

void TreeCompare(Comparison &comparison, const Place &place)
{
    if (IsPassedOver(place))
        return;
    TreeVisit visit;
    visit.file = [&](const TreeFile &file) {
        MediaCompare(comparison, file);
        GalleryCompare(comparison, file);
    };
    visit.folder = [&](const std::string &path) { FolderCompare(comparison, path); };
    visit.unreadable = [&](const std::string &path) {
        comparison.unreadable.push_back(path);
        comparison.kept.insert(path);
    };
    visit.vanished = [&](const std::string &path) { comparison.vanished.push_back(path); };
    TreeWalk(place.folder, visit);
}
