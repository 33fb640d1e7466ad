// Renames by path prefix, without reading the photos again.
#include "photo/photo_rename.h"

#include <stdlib.h>
#include <string.h>

#include "common/log.h"
#include "common/text.h"
#include "index/index_modes.h"
#include "index/index_path.h"
#include "photo/photo_index.h"
#include "photo/sql_text.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "photo_rename";

enum { TABLE_PHOTO = 0, TABLE_VIDEO_DESC = 1, TABLE_VIDEO_COMMENT = 2 };

// What the new path is. A folder is never a file, and neither is a path without a dot.
struct RenameTarget {
    const char *path;
    bool is_file;
    bool is_photo;
};

static RenameTarget TargetOf(const char *path)
{
    const char *dot = strrchr(path, '.');
    bool is_file = dot && !IsDirExist(path);
    return {path, is_file, is_file && BlNUBOIndexIsPhotoOnWeb(dot + 1)};
}

// The old path was never indexed.
static int TargetAdd(const RenameTarget &target)
{
    if (!target.is_file)
        (void)IndexPathUpdate(target.path, INDEX_MODE_ADD, NUBOINDEX_PHOTO);
    else if (target.is_photo)
        (void)PhotoInfoAdd(target.path, INDEX_MODE_ADD);
    else
        return -1;
    return 0;
}

static int RowsMove(NuboDbHandle *handle, const RenameTarget &target, const char *old_path)
{
    if (target.is_file && !target.is_photo) {
        (void)PhotoInfoRemove(old_path);
        return -1;  // the row is gone, and still there is no renamed photo
    }
    if (target.is_photo)
        (void)PhotoInfoDBDelete(target.path);  // a stale row at the new name would collide
    PhotoPathList *paths = PhotoPathDBGet(handle);
    if (!paths)
        return 0;
    int result = NUBOUpdatePhotoPath(paths, target.path, old_path);
    FreePhotoPathList(paths);
    if (result == -1) {
        LogParen(LOG_HERE, "Failed to rename to new path.");
        return -1;
    }
    return 0;
}

int PhotoIndexRename(const char *new_path, const char *old_path, int is_folder)
{
    if (!new_path || !*new_path || !old_path || !*old_path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    RenameTarget target = TargetOf(new_path);
    char condition[4096];
    if (!SqlPathCondition(LOG_HERE, old_path, is_folder ? "/" : "", condition))
        return -1;
    NuboDbHandle *handle = PhotoInfoDBOpen(TABLE_PHOTO, "path", condition, 0, nullptr, 0, 0);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    int result = handle->row_count == 0 ? TargetAdd(target) : RowsMove(handle, target, old_path);
    PhotoInfoDBClose(handle);
    return result;
}

// The statement buffer of a rename, kept from row to row.
struct StatementBuffer {
    char *text;
    size_t size;
};

static int BufferGrow(StatementBuffer *buffer, size_t size)
{
    if (size <= buffer->size)
        return 0;
    free(buffer->text);
    buffer->text = static_cast<char *>(malloc(size));
    buffer->size = buffer->text ? size : 0;
    if (!buffer->text) {
        LogParen(LOG_HERE, "Failed to malloc(%d)", static_cast<int>(size));
        return -1;
    }
    return 0;
}

static int StatementRun(NuboDbConnection *connection, const char *statement)
{
    NuboDbResult *result = nullptr;
    int status = NUBODBExecute(connection, statement, &result);
    NUBODBFreeResult(result);
    if (status != -1)
        return 0;
    LogParen(LOG_HERE, "Failed to exec [%s] (%s)", statement, NUBODBErrorGet(connection));
    return -1;
}

static int NoteMove(NuboDbConnection *connection, int table, const char *new_path, const char *row_path,
                    StatementBuffer *statement)
{
    char *new_literal = SqlLiteral(LOG_HERE, new_path);
    char *row_literal = new_literal ? SqlLiteral(LOG_HERE, row_path) : nullptr;
    int result = -1;
    if (row_literal && BufferGrow(statement, strlen(new_literal) + strlen(row_literal) + 64) == 0) {
        SqlFormat(statement->text, statement->size, "Update %s set path = '%s' where path = '%s'",
                  table == TABLE_VIDEO_DESC ? "video_desc" : "video_comment", new_literal, row_literal);
        result = StatementRun(connection, statement->text);
    }
    free(row_literal);
    free(new_literal);
    return result;
}

static int NotesMove(NuboDbHandle *handle, int table, const char *new_path, const char *old_path,
                     StatementBuffer *statement)
{
    if (handle->row_count == 0)
        return -1;  // nothing to move counts as a failure
    while (NUBODBFetchRow(handle->result, &handle->row) == 0) {
        const char *row_path = NUBODBFetchField(handle->result, handle->row, "path");
        const char *found = row_path ? strstr(row_path, old_path) : nullptr;
        if (!found)
            continue;
        char moved[4096];
        TextSet(moved, new_path);
        size_t length = strlen(moved);
        TextCopy(moved + length, sizeof moved - length, found + strlen(old_path));
        if (NoteMove(handle->connection, table, moved, row_path, statement) < 0)
            return -1;
    }
    return 0;
}

int PhotoIndexRenameVideoNotes(int table, const char *new_path, const char *old_path)
{
    if ((table != TABLE_VIDEO_DESC && table != TABLE_VIDEO_COMMENT) || !new_path || !*new_path || !old_path ||
        !*old_path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    char condition[4096];
    if (!SqlPathCondition(LOG_HERE, old_path, "", condition))
        return -1;
    NuboDbHandle *handle = PhotoInfoDBOpen(table, "path", condition, 0, nullptr, 0, 0);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    StatementBuffer statement = {};
    int result = NotesMove(handle, table, new_path, old_path, &statement);
    free(statement.text);
    PhotoInfoDBClose(handle);
    return result;
}
