#include "sync/mount_point.h"

#include <dirent.h>
#include <mntent.h>
#include <stdio.h>
#include <stdlib.h>

#include "paths_below.h"
#include "sync/file_time.h"
#include "sync/tree.h"

static bool IsEmpty(const std::string &folder)
{
    DIR *dir = opendir(folder.c_str());
    int entries = 0;
    while (dir && entries < 3 && readdir(dir))  // "." and ".." are two
        entries++;
    if (dir)
        closedir(dir);
    return entries == 2;
}

static bool IsListed(const char *table, const std::string &folder)
{
    FILE *file = setmntent(table, "re");
    if (!file)
        return false;
    bool found = false;
    while (const mntent *entry = found ? nullptr : getmntent(file))
        found = folder == entry->mnt_dir;
    endmntent(file);
    return found;
}

// Times as texts of one form follow each other as the times do.
static std::string_view NewestChange(IndexRows &rows, const std::string &folder)
{
    std::string_view newest;
    for (RowTable table : {ROWS_MUSIC, ROWS_VIDEO, ROWS_PHOTO, ROWS_PLAYLIST}) {
        for (const IndexRow &row : RowsBelow(rows, table, folder)) {
            if (row.changed > newest)
                newest = row.changed;
        }
    }
    return newest;
}

bool IsUnmounted(IndexRows &rows, const std::string &folder)
{
    if (!IsEmpty(folder))
        return false;
    if (IsListed("/etc/fstab", folder) && !IsListed("/proc/self/mounts", folder))
        return true;
    struct statx status;
    return PathStatus(folder, &status) == 0 &&
           NewestChange(rows, folder) > RowTimeText(status.stx_ctime.tv_sec);
}

std::string UnmountedAbove(const std::string &folder, const char *table)
{
    char *resolved = realpath(folder.c_str(), nullptr);
    std::string real = resolved ? resolved : folder;
    free(resolved);
    FILE *file = setmntent(table, "re");
    std::string unmounted;
    while (const mntent *entry = file && unmounted.empty() ? getmntent(file) : nullptr) {
        std::string place = WithoutSlash(entry->mnt_dir);
        bool is_wanted = place[0] == '/' && !hasmntopt(entry, MNTOPT_NOAUTO) && IsAtOrBelow(real, place);
        if (is_wanted && !IsListed("/proc/self/mounts", place))
            unmounted = place;
    }
    if (file)
        endmntent(file);
    return unmounted;
}
