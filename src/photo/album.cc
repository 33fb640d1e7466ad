// Album rows are written with all ten values of the table; only those that are named here have a meaning to this
// program.
#include "photo/album.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/text.h"
#include "index/index_modes.h"
#include "photo/album_access.h"
#include "photo/photo_description.h"
#include "photo/sql_text.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "album";

static constexpr int TABLE_PHOTO_SHARE = 3;
static constexpr size_t STATEMENT_REST = 512;  // bytes beside the escaped names

const char *AlbumNameOf(const char *path)
{
    return path + strnlen(path, ALBUM_NAME_OFFSET);
}

int AlbumDepth(const char *path)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return 2;
    }
    int depth = 0;
    for (const char *c = AlbumNameOf(path); *c && depth < 2; c++)
        depth += *c == '/';
    return depth;
}

// An album folder's own description decides, else the box's settings; without either an album is private.
static bool IsPublicByDefault(const char *path)
{
    char value[255] = "";
    if (DescriptionRead(LOG_HERE, path, "NUBOPHOTO:PUBLIC", value, sizeof value) == 0)
        return *value == '1';
    char setting[128] = "";
    if (NLIBFileGetKeyValue(SETTINGS_PATH, "albumdefpublic", setting, sizeof setting, 0) <
        0)  // names another key
        LogPlain("%s(%d) Can't get key valude. key=%s", LOG_MODULE, __LINE__, "supportcinehall");
    return strcasecmp(setting, "yes") == 0;
}

static int IdAfter(const char *id)
{
    long value = id ? strtol(id, nullptr, 10) : 0;
    return value > 0 && value < INT_MAX ? static_cast<int>(value) + 1 : 1;
}

int PhotoShareNextId(void)
{
    NuboDbHandle *handle = PhotoInfoDBOpen(TABLE_PHOTO_SHARE, "*", "shareid > 0", 0, "shareid desc", 0, 1);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return 1;
    }
    int id = 1;
    if (NUBODBFetchRow(handle->result, &handle->row) == 0)
        id = IdAfter(NUBODBFetchField(handle->result, handle->row, "shareid"));
    PhotoInfoDBClose(handle);
    return id;
}

static char *InsertStatement(size_t size, const char *path, const char *literal, int depth)
{
    const char *is_public = IsPublicByDefault(path) ? "true" : "false";
    return SqlPrint(LOG_HERE, size,
                    "Insert into photo_share values(%d, '%s', '', '', '%s', 0, '', 'true', '%s', '1');",
                    PhotoShareNextId(), literal, is_public, depth == 1 ? "true" : "false");
}

static char *DeleteStatement(size_t size, const char *literal, const char *pattern)
{
    return SqlPrint(LOG_HERE, size, "Delete from photo_share where sharename = '%s' or sharename like '%s/%%';",
                    literal, pattern);
}

static int StatementRun(const char *statement)
{
    if (PhotoDBExec(statement) != -1)
        return 0;
    LogParen(LOG_HERE, "Failed to exec [%s]", statement);
    return -1;
}

static int RowUpdate(const char *path, const char *name, int depth, int mode)
{
    char *literal = SqlLiteral(LOG_HERE, name);
    char *pattern = literal ? SqlPattern(LOG_HERE, literal) : nullptr;
    char *statement = nullptr;
    if (pattern) {
        size_t size = strlen(literal) + strlen(pattern) + STATEMENT_REST;
        statement = mode == INDEX_MODE_ADD ? InsertStatement(size, path, literal, depth)
                                           : DeleteStatement(size, literal, pattern);
    }
    int result = statement ? StatementRun(statement) : -1;
    free(statement);
    free(pattern);
    free(literal);
    return result;
}

static int AllDelete(void)
{
    static constexpr char statement[] = "Delete from photo_share;";
    if (PhotoDBExec(statement) != -1)
        return 0;
    LogColon(LOG_HERE, "Failed to exec [%s]", statement);
    return -1;
}

int PhotoShareUpdate(const char *path, int mode)
{
    if (!path || !*path || (mode != INDEX_MODE_ADD && mode != INDEX_MODE_DELETE)) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (mode == INDEX_MODE_DELETE && strlen(path) == SHARE_ROOT_LENGTH)
        return AllDelete();
    int depth = AlbumDepth(path);
    if (depth == 2)
        return 0;
    char name[4096];
    TextSet(name, AlbumNameOf(path));
    if (mode == INDEX_MODE_ADD && !*name)
        return 0;  // the share itself is no album
    if (RowUpdate(path, name, depth, mode) < 0)
        return -1;
    if (mode == INDEX_MODE_ADD && depth == 1 && NUBOPhotoShareSubDirUpdatePrivilege(name) == -1) {
        LogParen(LOG_HERE, "NUBOPhotoShareSubDirUpdatePrivilege Failed.");
        return -1;
    }
    return 0;
}
