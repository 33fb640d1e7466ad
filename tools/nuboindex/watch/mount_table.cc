#include "watch/mount_table.h"

#include <fcntl.h>
#include <mntent.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "paths_below.h"

static constexpr char MOUNTS_PATH[] = "/proc/self/mounts";

std::vector<std::string> MountsBelow(const std::string &folder)
{
    std::vector<std::string> places;
    FILE *file = setmntent(MOUNTS_PATH, "re");
    while (const mntent *entry = file ? getmntent(file) : nullptr) {
        std::string place = WithoutSlash(entry->mnt_dir);
        bool is_below = place != WithoutSlash(folder) && IsAtOrBelow(place, WithoutSlash(folder));
        if (is_below && strcmp(entry->mnt_type, "autofs") != 0)
            places.push_back(place);
    }
    if (file)
        endmntent(file);
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

std::string PlaceIdentity(const std::string &path)
{
    struct statx status;
    int flags = AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (statx(AT_FDCWD, path.c_str(), flags, STATX_INO | STATX_MNT_ID, &status) != 0)
        return "";
    std::string identity;
    for (uint64_t number :
         {static_cast<uint64_t>(status.stx_dev_major), static_cast<uint64_t>(status.stx_dev_minor),
          static_cast<uint64_t>(status.stx_ino), static_cast<uint64_t>(status.stx_mnt_id)})
        identity += std::to_string(number) + '\n';
    return identity;
}

static std::string TableRead(int descriptor)
{
    std::string text;
    char bytes[4096];
    if (lseek(descriptor, 0, SEEK_SET) != 0)
        return text;
    for (ssize_t length = 0; (length = read(descriptor, bytes, sizeof bytes)) > 0;)
        text.append(bytes, static_cast<size_t>(length));
    return text;
}

void MountTableOpen(MountTable &table)
{
    table.descriptor = open(MOUNTS_PATH, O_RDONLY | O_CLOEXEC);
    if (table.descriptor >= 0)
        table.text = TableRead(table.descriptor);
}

void MountTableLook(MountTable &table)
{
    std::string text = TableRead(table.descriptor);
    table.remounts += text == table.text;
    table.text = text;
}
