// Everything that is declared and not built yet answers here, with a message and a failure: no row is written
// for a format without its reader. A piece that gets built leaves this file; the last one deletes it.
#include "common/log.h"
#include "photo/album.h"
#include "photo/album_rename.h"
#include "photo/album_sync.h"
#include "photo/photo_index.h"
#include "photo/photo_media.h"
#include "photo/photo_rename.h"
#include "photo/photo_sync.h"
#include "photo/photo_volume.h"
#include "video/video.h"

static constexpr char LOG_MODULE[] = "not_built_yet";

static int NotBuiltYet(const char *operation, const char *path)
{
    LogParen(LOG_HERE, "%s is not built yet [%s].", operation, path ? path : "");
    return -1;
}

// clang-format off

int VideoIndexAdd(const char *path) { return NotBuiltYet(__func__, path); }
int VideoIndexDelete(const char *path) { return NotBuiltYet(__func__, path); }

int PhotoMediaAdd(const char *path) { return NotBuiltYet(__func__, path); }
int PhotoMediaDelete(const char *path) { return NotBuiltYet(__func__, path); }
int PhotoIndexPath(const char *path, int) { return NotBuiltYet(__func__, path); }
void PhotoVolumeCheck(void) { (void)NotBuiltYet(__func__, nullptr); }
int PhotoIndexRename(const char *path, const char *, int) { return NotBuiltYet(__func__, path); }
int PhotoIndexRenameVideoNotes(int, const char *path, const char *) { return NotBuiltYet(__func__, path); }
int PhotoIndexSyncDir(const char *path) { return NotBuiltYet(__func__, path); }
int PhotoShareUpdate(const char *path, int) { return NotBuiltYet(__func__, path); }
int PhotoShareAddDir(const char *path) { return NotBuiltYet(__func__, path); }
int PhotoShareSync(const char *path) { return NotBuiltYet(__func__, path); }
int PhotoShareRename(const char *path, const char *) { return NotBuiltYet(__func__, path); }
