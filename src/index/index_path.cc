// The folder walk. Depth first, in the order in which the file system lists entries; one open folder a level, and
// one path buffer for the whole walk: anybody may nest folders two thousand deep, and a buffer for each of
// them would not fit on the stack.
#include "index/index_path.h"

#include <dirent.h>
#include <string.h>

#include "common/features.h"
#include "common/log.h"
#include "common/paths.h"
#include "common/text.h"
#include "index/index_file.h"
#include "index/index_modes.h"
#include "index/share_path.h"
#include "photo/photo_index.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "index_path";

// Holds thumbnails and attributes; never indexed. The name is compared exactly.
static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";

static bool IsPhotoWork(const char *path, int type)
{
    return (type & NUBOINDEX_PHOTO) && supportphoto && IsPhotoSharePath(path);
}

static void SubtreeDelete(const char *path, int type)
{
    if (type & NUBOINDEX_MEDIA)
        (void)MediaInfoDBDelete(MEDIA_KIND_SUBTREE, path);
    if (IsPhotoWork(path, type))
        (void)PhotoInfoDBDirDelete(path);
}

static void FileUpdate(const char *path, int mode, int type)
{
    int result = 0;
    if (type & NUBOINDEX_MEDIA)
        result = IndexFileUpdate(path, mode);
    if (!IsPhotoWork(path, type))
        return;
    if (result == 0)
        (void)PhotoIndexPath(path, mode);
    else  // what the media side could not read, the converter may be able to
        (void)NLIBExec(VIDEO_CONVERTER_PROGRAM, "-f", path, nullptr, nullptr);
}

static bool IsSkippedName(const char *name)
{
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0 || strcmp(name, ATTRIBUTE_FOLDER) == 0;
}

// Walks the folder that `path` names; the buffer holds its entries' paths in between, and the folder's again at the
// end.
static int TreeUpdate(char (&path)[4096], int mode, int type)
{
    if (IsRecycleBinPath(path))
        return 0;
    DIR *dir = opendir(path);
    if (!dir) {
        LogParen(LOG_HERE, "Failed to open directory %s ", path);  // the blank ends the message
        return -1;
    }
    if (type & NUBOINDEX_MEDIA)
        (void)IndexFileUpdate(path, mode);

    size_t length = strlen(path);
    while (const dirent *entry = readdir(dir)) {
        if (IsSkippedName(entry->d_name))
            continue;
        PathAppend(path, sizeof path, entry->d_name);  // a cut path fails both tests below and is skipped
        if (IsDirExist(path))
            (void)TreeUpdate(path, mode, type);  // a branch that fails does not stop its siblings
        else if (IsFileExist(path, nullptr))
            FileUpdate(path, mode, type);
        path[length] = '\0';
    }
    closedir(dir);
    return 0;
}

static int PathUpdate(const char *path, int mode, int type)
{
    if (IsDirExist(path)) {
        char buffer[4096];  // what exists has a path that fits
        TextSet(buffer, path);
        return TreeUpdate(buffer, mode, type);
    }
    if (IsFileExist(path, nullptr))
        FileUpdate(path, mode, type);
    return 0;
}

static int SharesRebuild(int type)
{
    switch (type) {
    case NUBOINDEX_MUSIC:
        ShareReindex(MUSIC_SHARE_LINK);
        return 0;
    case NUBOINDEX_VIDEO:
        ShareReindex(VIDEO_SHARE_LINK);
        return 0;
    case NUBOINDEX_MEDIA:
        ShareReindex(MUSIC_SHARE_LINK);
        ShareReindex(VIDEO_SHARE_LINK);
        ShareReindex(PHOTO_SHARE_LINK);
        return 0;
    default:
        LogParen(LOG_HERE, "index type must be NUBOINDEX_MEDIA");
        return -1;
    }
}

int IndexPathUpdate(const char *path, int mode, int type)
{
    if (!path && mode != INDEX_MODE_REBUILD) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    switch (mode) {
    case INDEX_MODE_DELETE:
        SubtreeDelete(path, type);
        return 0;
    case INDEX_MODE_ADD:
    case INDEX_MODE_REFRESH:
        return PathUpdate(path, mode, type);
    case INDEX_MODE_REBUILD:
        return SharesRebuild(type);
    default:
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
}

void ShareReindex(const char *link)
{
    if (!link || !*link)
        return;
    char target[4096];
    if (ShareLinkRead(link, target) < 0)
        return;
    (void)MediaInfoDBDelete(MEDIA_KIND_SUBTREE, target);
    (void)IndexPathUpdate(target, INDEX_MODE_ADD, NUBOINDEX_MEDIA);
}
