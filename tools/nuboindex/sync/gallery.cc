// Single requests and the resynchronisation of the photo share do not agree on hidden folders and recycle bins. Where
// they differ, a row is as good as none.
#include "sync/gallery.h"

#include "common/paths.h"
#include "index/share_path.h"
#include "paths_below.h"
#include "platform/media_index.h"
#include "platform/sdk.h"
#include "sync/index_rows.h"

static constexpr int ALBUM_TABLE = 3;
static constexpr size_t ALBUM_ROOT_LENGTH = 14;  // "/volume1/photo"
static constexpr size_t ALBUM_NAME_MAX = 450;    // bytes, quoted: longer ones are lost by every other pass
static constexpr uint64_t PHOTO_SIZE_LIMIT = 20 << 20;  // bytes; photos of this size and above are left out
static constexpr std::string_view ATTRIBUTE_FOLDER = "@eaDir";  // anywhere in a name

static bool AlbumsRead(Gallery &gallery)
{
    Query query(PhotoInfoDBOpen(ALBUM_TABLE, "sharename", "", 0, "sharename", 0, 0));
    if (!query)
        return false;
    while (NUBODBFetchRow(query->result, &query->row) == 0) {
        const char *name = NUBODBFetchField(query->result, query->row, "sharename");
        if (name && *name)
            gallery.albums.insert(gallery.root + "/" + name);
    }
    return true;
}

bool GalleryRead(const std::vector<Share> &shares, Gallery &gallery)
{
    gallery = {};
    for (const Share &share : shares) {
        if (share.kind == MEDIA_KIND_PHOTO)
            gallery.root = WithoutSlash(share.root);
    }
    gallery.is_used =
        !gallery.root.empty() && BlNUBOFileCheckKeyValue(DEFAULT_SETTINGS_PATH, "supportphoto", "yes", 0);
    gallery.takes_singles = IsPhotoSharePath(gallery.root.c_str());
    gallery.has_albums = gallery.is_used && gallery.takes_singles && gallery.root.size() == ALBUM_ROOT_LENGTH;
    return !gallery.has_albums || AlbumsRead(gallery);
}

GalleryRow GalleryRowOf(const Gallery &gallery, const std::string &path, std::string_view name, uint64_t size)
{
    if (!gallery.is_used || !BlNUBOIndexIsPhotoOnWebFile(path.c_str()))
        return GALLERY_NO_MATTER;
    if (name.starts_with('.') || path.find(ATTRIBUTE_FOLDER) != std::string::npos)
        return GALLERY_NO_MATTER;
    if (size == 0 || size >= PHOTO_SIZE_LIMIT)
        return GALLERY_NEVER;
    if (!IsAtOrBelow(path, gallery.root) || path.find("/.", gallery.root.size()) != std::string::npos)
        return GALLERY_MAY;
    return GALLERY_MUST;
}

bool IsAlbumDepth(const Gallery &gallery, const std::string &path)
{
    if (!gallery.has_albums || path.size() <= ALBUM_ROOT_LENGTH + 1 || !IsAtOrBelow(path, gallery.root))
        return false;
    size_t second = path.find('/', ALBUM_ROOT_LENGTH + 1);
    return second == std::string::npos || path.find('/', second + 1) == std::string::npos;
}

bool IsAlbumFolder(const Gallery &gallery, const std::string &path)
{
    if (!IsAlbumDepth(gallery, path))
        return false;
    std::string name = path.substr(ALBUM_ROOT_LENGTH);  // with its slash
    if (name.find("/.") != std::string::npos || name.find(ATTRIBUTE_FOLDER) != std::string::npos)
        return false;
    if ((name + '/').find("/#recycle/") != std::string::npos)
        return false;
    return SqlLiteralOf(name.substr(1)).size() <= ALBUM_NAME_MAX;
}

bool TakesSingle(const Gallery &gallery, const std::string &path)
{
    return gallery.is_used && IsPhotoSharePath(path.c_str());
}
