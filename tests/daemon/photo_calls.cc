// The photo side as the queue sees it: every call is noted among those of the libraries, and nothing else is done.
#include <string>

#include "photo/album.h"
#include "photo/album_rename.h"
#include "photo/album_sync.h"
#include "photo/photo_index.h"
#include "photo/photo_rename.h"
#include "photo/photo_sync.h"
#include "photo/photo_volume.h"
#include "support/platform_fake.h"

static int Note(const char *name, const char *path, const std::string &rest = "")
{
    platform.calls.push_back(std::string(name) + " " + (path ? path : "(null)") + rest);
    return 0;
}

static std::string Also(const char *path)
{
    return std::string(" ") + (path ? path : "(null)");
}

void PhotoVolumeCheck(void)
{
    platform.calls.push_back("PhotoVolumeCheck");
}

int PhotoIndexPath(const char *path, int mode)
{
    return Note("PhotoIndexPath", path, " " + std::to_string(mode));
}

int PhotoIndexSyncDir(const char *dir)
{
    return Note("PhotoIndexSyncDir", dir);
}

int PhotoIndexRename(const char *new_path, const char *old_path, int is_folder)
{
    return Note("PhotoIndexRename", new_path, Also(old_path) + " " + std::to_string(is_folder));
}

int PhotoIndexRenameVideoNotes(int table, const char *new_path, const char *old_path)
{
    return Note("PhotoIndexRenameVideoNotes", new_path, Also(old_path) + " " + std::to_string(table));
}

int PhotoShareUpdate(const char *path, int mode)
{
    return Note("PhotoShareUpdate", path, " " + std::to_string(mode));
}

int PhotoShareAddDir(const char *path)
{
    return Note("PhotoShareAddDir", path);
}

int PhotoShareSync(const char *path)
{
    return Note("PhotoShareSync", path);
}

int PhotoShareRename(const char *new_path, const char *old_path)
{
    return Note("PhotoShareRename", new_path, Also(old_path));
}
