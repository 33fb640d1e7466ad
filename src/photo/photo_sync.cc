// One folder at a time: what the databases know is sorted once and looked up for each name, so that the cost of a
// folder grows with its size.
#include "photo/photo_sync.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/text.h"
#include "index/index_file.h"
#include "index/index_modes.h"
#include "index/media_record.h"
#include "index/share_path.h"
#include "photo/photo_index.h"
#include "photo/photo_volume.h"
#include "photo/sql_text.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "photo_sync";

static constexpr int TABLE_PHOTO = 0;
static constexpr int PATH_NODE_SIZE = 8;  // as the message gives it, whatever the machine's pointers

// The paths that the databases hold, sorted; the texts belong to the list.
struct KnownPaths {
    PhotoPathList *list;
    const char **sorted;
    size_t count;
};

// What a folder's names turn out to be. Both lists are built at the head, and so run in reverse order.
struct SyncLists {
    PhotoPathList *seen;
    PhotoPathList *fresh;
};

static int PathCompare(const void *a, const void *b)
{
    return strcmp(*static_cast<const char *const *>(a), *static_cast<const char *const *>(b));
}

static int KnownSort(KnownPaths *known)
{
    for (const PhotoPathList *node = known->list; node; node = node->next)
        known->count++;
    if (known->count == 0)
        return 0;
    known->sorted = static_cast<const char **>(malloc(known->count * sizeof *known->sorted));
    if (!known->sorted) {
        LogParen(LOG_HERE, "Failed to malloc(%d)", static_cast<int>(known->count * sizeof *known->sorted));
        return -1;
    }
    size_t i = 0;
    for (const PhotoPathList *node = known->list; node; node = node->next)
        known->sorted[i++] = node->path;
    qsort(known->sorted, known->count, sizeof *known->sorted, PathCompare);
    return 0;
}

static bool IsKnown(const KnownPaths *known, const char *path)
{
    return known->count > 0 &&
           bsearch(&path, known->sorted, known->count, sizeof *known->sorted, PathCompare) != nullptr;
}

// The paths of the videos, then those of the photos.
static PhotoPathList *PathListJoin(PhotoPathList *videos, PhotoPathList *photos)
{
    if (!videos)
        return photos;
    PhotoPathList *tail = videos;
    while (tail->next)
        tail = tail->next;
    tail->next = photos;
    return videos;
}

static int KnownRead(const char *condition, KnownPaths *known)
{
    NuboDbHandle *photos = PhotoInfoDBOpen(TABLE_PHOTO, "path", condition, 0, "path asc", 0, 0);
    if (!photos) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    NuboDbHandle *videos = MediaInfoDBOpen(MEDIA_KIND_VIDEO, "path", condition, 0, "path asc", 0, 0, 0);
    known->list = PathListJoin(videos ? PhotoPathDBGet(videos) : nullptr, PhotoPathDBGet(photos));
    PhotoInfoDBClose(videos);
    PhotoInfoDBClose(photos);
    return KnownSort(known);
}

// The rows that lie directly in a folder, none deeper.
static int KnownInFolder(const char *dir, KnownPaths *known)
{
    char *literal = SqlLiteral(LOG_HERE, dir);
    char *pattern = literal ? SqlPattern(LOG_HERE, literal) : nullptr;
    char *condition = pattern ? SqlPrint(LOG_HERE, 2 * strlen(pattern) + 64,
                                         "path like '%s/%%' and path not like '%s/%%/%%'", pattern, pattern)
                              : nullptr;
    int result = condition ? KnownRead(condition, known) : -1;
    free(condition);
    free(pattern);
    free(literal);
    return result;
}

static int PathPush(PhotoPathList **list, const char *path)
{
    auto *node = static_cast<PhotoPathList *>(malloc(sizeof(PhotoPathList)));
    if (!node) {
        LogParen(LOG_HERE, "Failed to alloc %d", PATH_NODE_SIZE);
        return -1;
    }
    node->path = strdup(path);
    if (!node->path) {
        LogParen(LOG_HERE, "Failed to duplicate string.");
        free(node);
        return -1;
    }
    node->next = *list;
    *list = node;
    return 0;
}

static int NamesSplit(const char *dir, const glob_t *names, const KnownPaths *known, SyncLists *lists)
{
    for (size_t i = 0; i < names->gl_pathc; i++) {
        char path[4096];
        PathJoin(path, sizeof path, dir, names->gl_pathv[i]);
        if (PathPush(IsKnown(known, path) ? &lists->seen : &lists->fresh, path) < 0)
            return -1;
    }
    return 0;
}

static void ListsProcess(const SyncLists *lists)
{
    for (const PhotoPathList *node = lists->seen; node; node = node->next)
        (void)PhotoIndexPath(node->path, INDEX_MODE_REFRESH);
    for (const PhotoPathList *node = lists->fresh; node; node = node->next) {
        if (IndexFileUpdate(node->path, INDEX_MODE_ADD) == 0)
            (void)PhotoIndexPath(node->path, INDEX_MODE_ADD);
        else  // what the media side could not read, the converter may be able to
            (void)NLIBExec(VIDEO_CONVERTER_PROGRAM, "-f", node->path, nullptr, nullptr);
    }
}

int PhotoIndexSyncFiles(const char *dir, const glob_t *names)
{
    if (!dir || !*dir || !names) {
        LogParen(LOG_HERE, "Bad parameter. ");  // the blank ends the message
        return -1;
    }
    KnownPaths known = {};
    SyncLists lists = {};
    int result = KnownInFolder(dir, &known);
    if (result == 0)
        result = NamesSplit(dir, names, &known, &lists);
    if (result == 0)
        ListsProcess(&lists);
    FreePhotoPathList(lists.seen);
    FreePhotoPathList(lists.fresh);
    free(known.sorted);
    FreePhotoPathList(known.list);
    return result;
}

static int TreeSync(const char *dir);

static void FilesSync(const char *dir)
{
    glob_t names = {};
    if (glob("*.*", 0, nullptr, &names) == 0 && names.gl_pathc > 0)
        (void)PhotoIndexSyncFiles(dir, &names);
    globfree(&names);
}

static void FoldersSync(const char *dir, char (&child)[4096])
{
    glob_t names = {};
    if (glob("*", GLOB_ONLYDIR, nullptr, &names) != 0)
        names.gl_pathc = 0;
    for (size_t i = 0; i < names.gl_pathc; i++) {
        const char *name = names.gl_pathv[i];
        if (!IsListedFolder(name) || strstr(name, "@eaDir"))
            continue;
        PathJoin(child, sizeof child, dir, name);
        (void)TreeSync(child);  // a folder that fails does not stop its siblings
    }
    globfree(&names);
}

// The paths of one level. They are kept off the stack: a tree may be some two thousand folders deep.
struct LevelPaths {
    char previous[4096];
    char child[4096];
};

static int LevelSync(const char *dir, LevelPaths *paths)
{
    if (!getcwd(paths->previous, sizeof paths->previous)) {
        LogParen(LOG_HERE, "Failed to get current directory");
        return -1;
    }
    // A folder that cannot be entered is given up: the names of another one must not be taken for its own. The
    // listing may hold links to files, which are no folders after all.
    if (chdir(dir) != 0) {
        if (errno != ENOTDIR)
            LogParen(LOG_HERE, "Failed to change to directory %s (%s)", dir, strerror(errno));
        return -1;
    }
    FilesSync(dir);
    FoldersSync(dir, paths->child);
    if (chdir(paths->previous) != 0)
        LogParen(LOG_HERE, "Failed to change to directory %s (%s)", paths->previous, strerror(errno));
    return 0;
}

static int TreeSync(const char *dir)
{
    if (IsRecycleBinPath(dir))
        return 0;
    auto *paths = static_cast<LevelPaths *>(malloc(sizeof(LevelPaths)));
    if (!paths) {
        LogParen(LOG_HERE, "Failed to malloc(%d)", static_cast<int>(sizeof(LevelPaths)));
        return -1;
    }
    int result = LevelSync(dir, paths);
    free(paths);
    return result;
}

static int ShareSync(void)
{
    char root[4096];
    if (ShareLinkRead(PHOTO_SHARE_LINK, root) < 0) {
        LogParen(LOG_HERE, "Failed to read link of %s", PHOTO_SHARE_LINK);
        return -1;
    }
    if (NUBOPhotoInitAllRows() == -1) {
        LogParen(LOG_HERE, "Failed to set updated to 0 for all rows.");
        return -1;
    }
    if (TreeSync(root) < 0)
        return -1;
    if (NUBOPhotoDeleteNoUpdateRows() == -1) {
        LogParen(LOG_HERE, "Failed to delete none updated rows.");
        return -1;
    }
    return 0;
}

int PhotoIndexSyncDir(const char *dir)
{
    return dir ? TreeSync(dir) : ShareSync();
}
