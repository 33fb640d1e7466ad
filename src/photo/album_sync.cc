// Mark and sweep of the albums, two folder levels deep.
#include "photo/album_sync.h"

#include <errno.h>
#include <glob.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/text.h"
#include "index/index_modes.h"
#include "index/share_path.h"
#include "photo/album.h"
#include "photo/photo_volume.h"
#include "photo/sql_text.h"
#include "platform/photo_db.h"

static constexpr char LOG_MODULE[] = "album_sync";

static constexpr int TABLE_PHOTO_SHARE = 3;
static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";
static constexpr char RECYCLE_BIN[] = "#recycle";

static void RowMark(const char *literal)
{
    char statement[512];
    SqlFormat(statement, sizeof statement, "Update photo_share set updated = '1' where sharename = '%s'",
              literal);
    if (PhotoDBExec(statement) == -1)
        LogParen(LOG_HERE, "Failed to exec [%s].", statement);
}

static void AlbumMark(const char *sharename, const char *literal)
{
    char condition[512];
    SqlFormat(condition, sizeof condition, "sharename = '%s'", literal);
    char root[4096];
    if (ShareLinkRead(PHOTO_SHARE_LINK, root) < 0) {
        LogParen(LOG_HERE, "Failed to read link of %s", PHOTO_SHARE_LINK);
        return;
    }
    const NuboDbHandle *handle = PhotoInfoDBOpen(TABLE_PHOTO_SHARE, "*", condition, 0, nullptr, 0, 0);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return;
    }
    if (handle->row_count != 0) {
        RowMark(literal);
        return;
    }
    char path[4096];
    PathJoin(path, sizeof path, root, sharename);
    (void)PhotoShareUpdate(path, INDEX_MODE_ADD);
}

int PhotoShareMarkUpdated(const char *sharename)
{
    char *literal = SqlLiteral(LOG_HERE, sharename);
    if (literal)
        AlbumMark(sharename, literal);
    free(literal);
    return -1;
}

static int MarkStatementRun(const char *statement)
{
    if (PhotoDBExec(statement) != -1)
        return 0;
    LogParen(LOG_HERE, "Failed to exec [%s].", statement);
    return -1;
}

// `prefix` narrows a statement to the sub-albums of one album, `joint` leads in that condition.
static int MarkedRowsUpdate(const char *head, const char *joint, const char *prefix)
{
    if (!prefix)
        return MarkStatementRun(head);
    char *literal = SqlLiteral(LOG_HERE, prefix);
    char *pattern = literal ? SqlPattern(LOG_HERE, literal) : nullptr;
    int result = -1;
    if (pattern) {
        char statement[1024];
        SqlFormat(statement, sizeof statement, "%s %s sharename like '%s/%%'", head, joint, pattern);
        result = MarkStatementRun(statement);
    }
    free(pattern);
    free(literal);
    return result;
}

int PhotoShareInitUpdated(const char *prefix)
{
    return MarkedRowsUpdate("Update photo_share set updated = '0'", "where", prefix);
}

int PhotoShareDeleteNoUpdated(const char *prefix)
{
    return MarkedRowsUpdate("Delete from photo_share where updated = '0'", "and", prefix);
}

// What is done for every subfolder of a folder: `dir` is the folder, `name` stands in it.
using FolderStep = void (*)(const char *dir, const char *name);

static void FoldersVisit(const char *dir, FolderStep step)
{
    glob_t names = {};
    if (glob("*", GLOB_ONLYDIR, nullptr, &names) != 0)
        names.gl_pathc = 0;
    for (size_t i = 0; i < names.gl_pathc; i++) {
        const char *name = names.gl_pathv[i];
        if (IsListedFolder(name) && !strstr(name, ATTRIBUTE_FOLDER))
            step(dir, name);
    }
    globfree(&names);
}

// 0; -1 when the folder could not be entered: the names of another one must not be taken for its own.
static int FoldersInside(const char *dir, FolderStep step)
{
    char previous[4096];
    if (!getcwd(previous, sizeof previous)) {
        LogParen(LOG_HERE, "Failed to get current directory");
        return -1;
    }
    if (chdir(dir) != 0) {
        if (errno != ENOTDIR)  // a link to a file, listed as a folder
            LogParen(LOG_HERE, "Failed to change to directory %s (%s)", dir, strerror(errno));
        return -1;
    }
    FoldersVisit(dir, step);
    if (chdir(previous) != 0)
        LogParen(LOG_HERE, "Failed to change to directory %s (%s)", previous, strerror(errno));
    return 0;
}

static void SubAlbumSee(const char *dir, const char *name)
{
    if (strcmp(name, RECYCLE_BIN) == 0)
        return;
    char sharename[4096];
    PathJoin(sharename, sizeof sharename, AlbumNameOf(dir), name);
    (void)PhotoShareMarkUpdated(sharename);
}

static void TopAlbumSee(const char *dir, const char *name)
{
    if (strcmp(name, RECYCLE_BIN) == 0)
        return;
    (void)PhotoShareMarkUpdated(name);
    char path[4096];
    PathJoin(path, sizeof path, dir, name);
    (void)PhotoShareSync(path);
}

static int ShareSync(const char *root)
{
    if (PhotoShareInitUpdated(nullptr) == -1) {
        LogParen(LOG_HERE, "Failed to set updated to 0 for all rows.");
        return -1;
    }
    if (FoldersInside(root, TopAlbumSee) < 0)
        return -1;
    if (PhotoShareDeleteNoUpdated(nullptr) == -1) {
        LogParen(LOG_HERE, "Failed to delete none updated rows.");
        return -1;
    }
    return 0;
}

int PhotoShareSync(const char *path)
{
    if (path && AlbumDepth(path) != 0)
        return 0;
    char root[4096];
    if (ShareLinkRead(PHOTO_SHARE_LINK, root) < 0) {
        LogParen(LOG_HERE, "Failed to read link of %s", PHOTO_SHARE_LINK);
        return -1;
    }
    return path ? FoldersInside(path, SubAlbumSee) : ShareSync(root);
}

static void SubAlbumAdd(const char *dir, const char *name)
{
    char path[4096];
    PathJoin(path, sizeof path, dir, name);
    (void)PhotoShareUpdate(path, INDEX_MODE_ADD);  // a recycle bin too
}

int PhotoShareAddDir(const char *path)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    int depth = AlbumDepth(path);
    if (depth == 2)
        return 0;
    (void)PhotoShareUpdate(path, INDEX_MODE_ADD);
    return depth == 1 ? 0 : FoldersInside(path, SubAlbumAdd);
}
