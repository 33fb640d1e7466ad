#include "watch/lines.h"

#include <algorithm>

#include "index/share_path.h"
#include "queue_line.h"

static constexpr size_t ALBUM_NAME_OFFSET = 15;  // behind "/volume1/photo/"

std::optional<std::string> WatchLine(const WatchRequest &request, std::string &reason)
{
    if (request.letter == 'N')
        return QueueRenameLine(request.path, request.old_path, reason);
    return QueueLine(request.letter, request.path, reason);
}

// Folders of the first two levels are albums.
static bool IsAlbum(const std::string &folder)
{
    if (folder.size() <= ALBUM_NAME_OFFSET)
        return false;
    return std::count(folder.begin() + ALBUM_NAME_OFFSET, folder.end(), '/') < 2;
}

bool IsRenameTold(const PendingRename &rename)
{
    std::string ignored;
    if (!QueueRenameLine(rename.new_path, rename.old_path, ignored))
        return false;
    bool is_photo = IsPhotoSharePath(rename.new_path.c_str());
    if (is_photo != IsPhotoSharePath(rename.old_path.c_str()))
        return false;
    return !is_photo || !rename.is_folder || IsAlbum(rename.new_path) || !IsAlbum(rename.old_path);
}
