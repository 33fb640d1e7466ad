// One short function per letter. The media side always comes first; the photo side follows only for paths of
// the photo share, and only when the box has photos.
#include "daemon/queue_commands.h"

#include <string.h>

#include "common/features.h"
#include "common/log.h"
#include "common/paths.h"
#include "index/index_file.h"
#include "index/index_modes.h"
#include "index/index_path.h"
#include "index/share_path.h"
#include "photo/album.h"
#include "photo/album_rename.h"
#include "photo/album_sync.h"
#include "photo/photo_index.h"
#include "photo/photo_rename.h"
#include "photo/photo_sync.h"
#include "photo/photo_volume.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "queue_commands";

static constexpr int BOTH_DATABASES = NUBOINDEX_MEDIA + NUBOINDEX_PHOTO;

static bool IsPhotoRequest(const char *path)
{
    return supportphoto && IsPhotoSharePath(path);
}

// A file that is back, or was never gone, keeps its rows.
static bool IsStillThere(LogSite at, const char *path)
{
    if (!IsDirExist(path) && !IsFileExist(path, nullptr))
        return false;
    LogParen(at, "Dir or File exists (%s). Skip remove it from database.", path);
    return true;
}

// "A": a file or a whole tree was added.
static void TreeAdd(char *path)
{
    (void)IndexPathUpdate(path, INDEX_MODE_ADD, BOTH_DATABASES);
    if (!IsPhotoRequest(path) || !IsDirExist(path))
        return;
    PhotoVolumeCheck();
    (void)PhotoShareAddDir(path);
}

// "D": a file or a whole tree was removed.
static void TreeDelete(char *path)
{
    if (IsStillThere(LOG_HERE, path))
        return;
    (void)IndexPathUpdate(path, INDEX_MODE_DELETE, BOTH_DATABASES);
    if (IsPhotoRequest(path))
        (void)PhotoShareUpdate(path, INDEX_MODE_DELETE);
}

static void VideoNotesRename(const char *new_path, const char *old_path)
{
    (void)PhotoIndexRenameVideoNotes(1, new_path, old_path);  // descriptions
    (void)PhotoIndexRenameVideoNotes(2, new_path, old_path);  // comments
}

static void FolderRename(const char *new_path, const char *old_path)
{
    (void)IndexPathUpdate(old_path, INDEX_MODE_DELETE, NUBOINDEX_MEDIA);
    (void)IndexPathUpdate(new_path, INDEX_MODE_ADD, NUBOINDEX_MEDIA);
    if (!IsPhotoRequest(new_path))
        return;
    (void)PhotoIndexRename(new_path, old_path, 1);
    (void)PhotoShareRename(new_path, old_path);
    if (supportcinehall)
        VideoNotesRename(new_path, old_path);
}

static void FileRename(const char *new_path, const char *old_path)
{
    (void)IndexFileUpdate(old_path, INDEX_MODE_DELETE);
    (void)IndexFileUpdate(new_path, INDEX_MODE_ADD);
    if (!IsPhotoRequest(new_path))
        return;
    (void)PhotoIndexRename(new_path, old_path, 0);
    if (supportcinehall && BlNUBOIndexIsVideoOnWebFile(new_path))
        VideoNotesRename(new_path, old_path);
}

// "N": new path, colon, old path. A path that itself holds a colon cannot be expressed. A missing piece is
// null, and the steps below report it.
static void Rename(char *argument)
{
    char *rest = nullptr;
    const char *new_path = strtok_r(argument, ":", &rest);
    const char *old_path = new_path ? strtok_r(nullptr, ":", &rest) : nullptr;
    if (new_path && IsDirExist(new_path))
        FolderRename(new_path, old_path);
    else
        FileRename(new_path, old_path);
}

static void PhotoRebuild(void)
{
    if (!supportphoto)
        return;
    PhotoVolumeCheck();
    (void)PhotoIndexSyncDir(nullptr);
    (void)PhotoDBVacuum();
    (void)PhotoShareSync(nullptr);
}

// "R": rebuild. Any word but the three below, and none at all, means all shares of the media database.
static void Rebuild(char *keyword)
{
    if (strcmp(keyword, "photo") == 0)
        PhotoRebuild();
    else if (strcmp(keyword, "music") == 0)
        (void)IndexPathUpdate(nullptr, INDEX_MODE_REBUILD, NUBOINDEX_MUSIC);
    else if (strcmp(keyword, "video") == 0)
        (void)IndexPathUpdate(nullptr, INDEX_MODE_REBUILD, NUBOINDEX_VIDEO);
    else
        (void)IndexPathUpdate(nullptr, INDEX_MODE_REBUILD, NUBOINDEX_MEDIA);
}

// "T": the library decides which names are tables.
static void Truncate(char *table)
{
    (void)NUBOTruncateTable(table);
}

// "U": see every photo again.
static void Refresh(char *keyword)
{
    if (strcmp(keyword, "photo") != 0 || !supportphoto)
        return;
    char target[4096];
    if (ShareLinkRead(PHOTO_SHARE_LINK, target) < 0) {
        LogParen(LOG_HERE, "Failed to read link of %s", PHOTO_SHARE_LINK);
        return;
    }
    PhotoVolumeCheck();
    (void)IndexPathUpdate(target, INDEX_MODE_REFRESH, NUBOINDEX_PHOTO);
}

// "a": one file or folder was added, without what lies below it.
static void SingleAdd(char *path)
{
    int result = IndexFileUpdate(path, INDEX_MODE_ADD);
    if (!IsPhotoRequest(path))
        return;
    if (result == 0)
        (void)PhotoIndexPath(path, INDEX_MODE_ADD);
    else
        (void)NLIBExec(VIDEO_CONVERTER_PROGRAM, "-f", path, nullptr, nullptr);
    if (IsDirExist(path))
        (void)PhotoShareUpdate(path, INDEX_MODE_ADD);
}

// "d": one file was removed.
static void SingleDelete(char *path)
{
    if (IsStillThere(LOG_HERE, path))
        return;
    (void)IndexFileUpdate(path, INDEX_MODE_DELETE);
    if (IsPhotoRequest(path))
        (void)PhotoIndexPath(path, INDEX_MODE_DELETE);
}

static const struct {
    unsigned char letter;
    void (*execute)(char *argument);
} QueueCommandTable[] = {
    {'A', TreeAdd},  {'D', TreeDelete}, {'N', Rename},    {'R', Rebuild},
    {'T', Truncate}, {'U', Refresh},    {'a', SingleAdd}, {'d', SingleDelete},
};

int QueueCommandExecute(unsigned char letter, char *argument)
{
    for (const auto &command : QueueCommandTable) {
        if (command.letter == letter) {
            command.execute(argument);
            return 0;
        }
    }
    return -1;
}
