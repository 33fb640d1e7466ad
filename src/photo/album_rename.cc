// A move across levels turns a top-level album into a sub-album or back, which changes which folders are albums.
#include "photo/album_rename.h"

#include <stdlib.h>
#include <string.h>

#include "common/log.h"
#include "common/text.h"
#include "index/index_modes.h"
#include "photo/album.h"
#include "photo/album_sync.h"
#include "photo/photo_volume.h"
#include "photo/sql_text.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "album_rename";

static constexpr int TABLE_PHOTO_SHARE = 3;
static constexpr size_t STATEMENT_REST = 512;  // bytes beside the escaped names

// One rename, with the names in their escaped form and the buffer for the statements about them.
struct AlbumMove {
    const char *new_path;
    const char *old_path;
    char *new_literal;
    char *old_literal;
    char *statement;
    size_t statement_size;
};

static int AlbumMoveMake(AlbumMove *move)
{
    move->old_literal = SqlLiteral(LOG_HERE, AlbumNameOf(move->old_path));
    if (!move->old_literal)
        return -1;
    move->new_literal = SqlLiteral(LOG_HERE, AlbumNameOf(move->new_path));
    if (!move->new_literal)
        return -1;
    move->statement_size = strlen(move->old_literal) + strlen(move->new_literal) + STATEMENT_REST;
    move->statement = static_cast<char *>(malloc(move->statement_size));
    if (!move->statement) {
        LogParen(LOG_HERE, "Failed to malloc(%d)", static_cast<int>(move->statement_size));
        return -1;
    }
    return 0;
}

static void AlbumMoveFree(AlbumMove *move)
{
    free(move->statement);
    free(move->new_literal);
    free(move->old_literal);
}

// The number of rows changed, or -1 after a message.
static int RowRename(const AlbumMove *move)
{
    SqlFormat(move->statement, move->statement_size,
              "Update photo_share set sharename = '%s', is_subdir = '%s' where sharename = '%s'",
              move->new_literal, strchr(move->new_literal, '/') ? "t" : "f", move->old_literal);
    int changed = PhotoDBExec(move->statement);
    if (changed == -1)
        LogParen(LOG_HERE, "Failed to exec [%s]", move->statement);
    return changed;
}

// The renamed album's own cover; those of its sub-albums keep their paths. The new name stands twice in a buffer
// that counts it once, so a statement about very long names is cut, and fails.
static int CoverMove(const AlbumMove *move)
{
    SqlFormat(
        move->statement, move->statement_size,
        "UPDATE photo_share SET cover = replace(cover, '/var/services/photo/%s/', '/var/services/photo/%s/') "
        "WHERE sharename='%s'",
        move->old_literal, move->new_literal, move->new_literal);
    int changed = PhotoDBExec(move->statement);
    if (changed == -1) {
        LogColon(LOG_HERE, "Failed to exec [%s]", move->statement);
        return -1;
    }
    if (changed == 0) {
        LogColon(LOG_HERE, "UPDATE cover failed, sharename [%s] not exists in db.", move->new_literal);
        return -1;
    }
    return 0;
}

static int SubAlbumsFollow(const AlbumMove *move, int old_depth, int new_depth)
{
    if (old_depth == 0 && new_depth == 0) {
        if (NUBOPhotoShareRenameSubDir(AlbumNameOf(move->new_path), AlbumNameOf(move->old_path)) == -1) {
            LogParen(LOG_HERE, "NUBOPhotoShareRenameSubDir failed.");
            return -1;
        }
    } else if (old_depth == 0 && new_depth == 1) {
        (void)PhotoShareUpdate(move->old_path, INDEX_MODE_DELETE);  // too deep now to be albums
    } else if (old_depth == 1 && new_depth == 0) {
        (void)PhotoShareAddDir(move->new_path);  // its insert meets the row that was just renamed
    }
    return 0;
}

static int AlbumMoveRun(const AlbumMove *move, int old_depth, int new_depth)
{
    int changed = RowRename(move);
    if (changed == -1)
        return -1;
    if (changed == 0 && IsDirExist(move->new_path)) {
        PhotoVolumeCheck();
        (void)PhotoShareAddDir(move->new_path);
        return -1;  // added, and still nothing was renamed
    }
    if (CoverMove(move) < 0)
        return -1;
    return SubAlbumsFollow(move, old_depth, new_depth);
}

int PhotoShareRename(const char *new_path, const char *old_path)
{
    if (!new_path || !*new_path || !old_path || !*old_path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    int old_depth = AlbumDepth(old_path);
    int new_depth = AlbumDepth(new_path);
    if (old_depth == 2 && new_depth == 2)
        return -1;
    AlbumMove move = {};
    move.new_path = new_path;
    move.old_path = old_path;
    int result = AlbumMoveMake(&move);
    if (result == 0)
        result = AlbumMoveRun(&move, old_depth, new_depth);
    AlbumMoveFree(&move);
    return result;
}

static int SubAlbumRename(const char *new_name, const char *row_name)
{
    char *new_literal = SqlLiteral(LOG_HERE, new_name);
    char *row_literal = new_literal ? SqlLiteral(LOG_HERE, row_name) : nullptr;
    int result = -1;
    if (row_literal) {
        char statement[2048];
        SqlFormat(statement, sizeof statement, "Update photo_share set sharename = '%s' where sharename = '%s'",
                  new_literal, row_literal);
        result = PhotoDBExec(statement) == -1 ? -1 : 0;
        if (result < 0)
            LogParen(LOG_HERE, "Failed to exec [%s]", statement);
    }
    free(row_literal);
    free(new_literal);
    return result;
}

// "%" and "_" in a name match other albums too; those are no sub-albums of this one.
static bool IsSubAlbumOf(const char *row_name, const char *name)
{
    size_t length = strlen(name);
    return strncmp(row_name, name, length) == 0 && row_name[length] == '/';
}

static int SubAlbumsRename(NuboDbHandle *handle, const char *new_name, const char *old_name)
{
    while (NUBODBFetchRow(handle->result, &handle->row) == 0) {
        const char *field = NUBODBFetchField(handle->result, handle->row, "sharename");
        char row_name[4096];
        TextSet(row_name, field ? field : "");
        if (!IsSubAlbumOf(row_name, old_name))
            continue;
        char moved[4096];
        TextSet(moved, new_name);
        size_t length = strlen(moved);
        TextCopy(moved + length, sizeof moved - length, row_name + strlen(old_name));
        if (SubAlbumRename(moved, row_name) < 0)
            return -1;
    }
    return 0;
}

static int SubAlbumsFind(const char *pattern, const char *new_name, const char *old_name)
{
    char condition[2048];
    SqlFormat(condition, sizeof condition, "sharename like '%s/%%'", pattern);
    NuboDbHandle *handle = PhotoInfoDBOpen(TABLE_PHOTO_SHARE, "*", condition, 0, nullptr, 0, 0);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    int result = SubAlbumsRename(handle, new_name, old_name);
    PhotoInfoDBClose(handle);
    return result;
}

int NUBOPhotoShareRenameSubDir(const char *new_name, const char *old_name)
{
    char *literal = SqlLiteral(LOG_HERE, old_name);
    char *pattern = literal ? SqlPattern(LOG_HERE, literal) : nullptr;
    int result = pattern ? SubAlbumsFind(pattern, new_name, old_name) : -1;
    free(pattern);
    free(literal);
    return result;
}
