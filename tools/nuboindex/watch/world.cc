#include "watch/world.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "common/paths.h"
#include "index/share_path.h"
#include "paths_below.h"
#include "sync/file_kind.h"
#include "watch/lines.h"

static Look LookAt(const std::string &path)
{
    struct stat itself, behind;
    if (lstat(path.c_str(), &itself) != 0 || stat(path.c_str(), &behind) != 0)
        return {LOOK_NOTHING, false, false, 0};
    bool is_link = S_ISLNK(itself.st_mode);
    if (S_ISDIR(behind.st_mode))
        return {LOOK_FOLDER, is_link, false, 0};
    return {LOOK_FILE, is_link, behind.st_nlink > 1, behind.st_size};
}

static bool HoldsMore(const std::string &folder, size_t &left)
{
    DIR *dir = opendir(folder.c_str());
    if (!dir)
        return false;
    bool is_more = false;
    while (const dirent *entry = is_more ? nullptr : readdir(dir)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat status;
        bool is_folder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN &&
            fstatat(dirfd(dir), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            is_folder = S_ISDIR(status.st_mode);
        is_more = left == 0;
        left -= !is_more;
        if (is_folder && !is_more)
            is_more = HoldsMore(folder + '/' + name, left);
    }
    closedir(dir);
    return is_more;
}

// A walk that begins at the photo share makes no albums of the folders two levels down.
static bool CanWalk(const Sight &sight, const std::string &folder)
{
    bool is_inside = std::any_of(sight.roots.begin(), sight.roots.end(),
                                 [&](const std::string &root) { return IsAtOrBelow(folder, root); });
    bool is_root = std::find(sight.roots.begin(), sight.roots.end(), folder) != sight.roots.end();
    return is_inside && !(is_root && IsPhotoSharePath(folder.c_str()));
}

PendingWorld WorldOf(const Sight &sight)
{
    return {
        LookAt,
        [](const std::string &folder, size_t limit) { return HoldsMore(folder, limit); },
        [](const std::string &path) { return MediaKindOfName(path.substr(path.rfind('/') + 1)) >= 0; },
        IsRenameTold,
        [&sight](const std::string &folder) { return CanWalk(sight, folder); },
    };
}
