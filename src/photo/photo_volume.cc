// One file system returns everything when it is asked for folders only; its listings are checked entry by entry.
#include "photo/photo_volume.h"

#include <sys/stat.h>
#include <sys/vfs.h>

#include "common/log.h"
#include "common/paths.h"

static constexpr char LOG_MODULE[] = "photo_volume";

static constexpr unsigned long UNRELIABLE_FILE_SYSTEM = 0x25521814;

static bool verify_folders = false;

void PhotoVolumeCheck(void)
{
    struct statfs volume;
    if (statfs(PHOTO_SHARE_LINK, &volume) != 0) {
        LogParen(LOG_HERE, "Failed to statfs.");
        return;
    }
    verify_folders = static_cast<unsigned long>(volume.f_type) == UNRELIABLE_FILE_SYSTEM;
}

bool IsListedFolder(const char *name)
{
    struct stat status;
    return !verify_folders || (stat(name, &status) == 0 && S_ISDIR(status.st_mode));
}
