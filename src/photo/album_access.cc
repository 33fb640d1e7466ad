// Inherited rights. The parent of "Trips/Rome" is "Trips".
#include "photo/album_access.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "common/log.h"
#include "common/text.h"
#include "photo/sql_text.h"
#include "platform/photo_db.h"

static constexpr char LOG_MODULE[] = "album_access";

enum { TABLE_PHOTO_SHARE = 3, TABLE_PHOTO_ACCESS_RIGHT = 4 };

static constexpr int FIELD_SIZE = 128;
static constexpr size_t STATEMENT_REST = 512;  // bytes beside the escaped name

static int FirstFieldRead(const char *condition, const char *column, char *out, int out_size)
{
    NuboDbHandle *handle = PhotoInfoDBOpen(TABLE_PHOTO_SHARE, "*", condition, 0, nullptr, 0, 1);
    if (!handle) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    int result = -1;
    if (NUBODBFetchRow(handle->result, &handle->row) == 0) {
        const char *text = NUBODBFetchField(handle->result, handle->row, column);
        TextCopy(out, static_cast<size_t>(out_size), text ? text : "");
        result = 0;
    }
    PhotoInfoDBClose(handle);
    return result;
}

int NUBOPhotoShareGetFieldValue(const char *sharename, const char *column, char *out, int out_size)
{
    if (!sharename || !column || !out || out_size <= 0) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    char *literal = SqlLiteral(LOG_HERE, sharename);
    char *condition =
        literal ? SqlPrint(LOG_HERE, strlen(literal) + STATEMENT_REST, "sharename = '%s'", literal) : nullptr;
    int result = condition ? FirstFieldRead(condition, column, out, out_size) : -1;
    free(condition);
    free(literal);
    return result;
}

static int StatementRun(const char *statement)
{
    if (PhotoDBExec(statement) != -1)
        return 0;
    LogParen(LOG_HERE, "Failed to exec [%s]", statement);
    return -1;
}

int NUBOPhotoShareSubDirUpdatePublic(const char *sharename, const char *value)
{
    if (!sharename || !value) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    char *literal = SqlLiteral(LOG_HERE, sharename);
    char *statement =
        literal ? SqlPrint(LOG_HERE, strlen(literal) + STATEMENT_REST,
                           "Update photo_share set public = '%s' where sharename = '%s';", value, literal)
                : nullptr;
    int result = statement ? StatementRun(statement) : -1;
    free(statement);
    free(literal);
    return result;
}

// The time as asctime writes it, with its line feed.
static void NowText(char (&out)[64])
{
    time_t now = time(nullptr);
    struct tm local;
    if (!localtime_r(&now, &local) || !asctime_r(&local, out))
        *out = '\0';
}

static int RightsCopy(NuboDbHandle *rights, const char *sub_id)
{
    while (NUBODBFetchRow(rights->result, &rights->row) == 0) {
        const char *user_id = NUBODBFetchField(rights->result, rights->row, "userid");
        char now[64];
        NowText(now);
        char statement[4096];
        SqlFormat(statement, sizeof statement, "Insert into photo_access_right Values (%s, %s, '%s')",
                  user_id ? user_id : "", sub_id, now);
        if (StatementRun(statement) < 0)
            return -1;
    }
    return 0;
}

static int RightsInherit(NuboDbHandle *rights, const char *sub_sharename)
{
    if (rights->row_count == 0)
        return 0;
    char sub_id[FIELD_SIZE] = "";
    if (NUBOPhotoShareGetFieldValue(sub_sharename, "shareid", sub_id, sizeof sub_id) != 0) {
        LogParen(LOG_HERE, "NUBOPhotoShareGetFieldValue failed.");
        return -1;
    }
    return RightsCopy(rights, sub_id);
}

int NUBOPhotoShareSubDirPrivilegeAdd(const char *sub_sharename, const char *parent_sharename)
{
    if (!sub_sharename || !parent_sharename) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    char parent_id[FIELD_SIZE] = "";
    if (NUBOPhotoShareGetFieldValue(parent_sharename, "shareid", parent_id, sizeof parent_id) != 0) {
        LogParen(LOG_HERE, "NUBOPhotoShareGetFieldValue failed.");
        return -1;
    }
    char condition[FIELD_SIZE + 16];
    SqlFormat(condition, sizeof condition, "shareid = '%s'", parent_id);
    NuboDbHandle *rights = PhotoInfoDBOpen(TABLE_PHOTO_ACCESS_RIGHT, "*", condition, 0, nullptr, 0, 0);
    if (!rights) {
        LogParen(LOG_HERE, "Error occurred, failed to get records.");
        return -1;
    }
    int result = RightsInherit(rights, sub_sharename);
    PhotoInfoDBClose(rights);
    return result;
}

int NUBOPhotoShareSubDirUpdatePrivilege(const char *sub_sharename)
{
    const char *slash = sub_sharename ? strchr(sub_sharename, '/') : nullptr;
    if (!slash) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    char parent[4096];
    TextSet(parent, sub_sharename);
    parent[strcspn(parent, "/")] = '\0';

    char is_public[FIELD_SIZE] = "";
    if (NUBOPhotoShareGetFieldValue(parent, "public", is_public, sizeof is_public) != 0) {
        LogParen(LOG_HERE, "NUBOPhotoShareGetFieldValue failed.");
        return -1;
    }
    if (NUBOPhotoShareSubDirUpdatePublic(sub_sharename, is_public) == -1) {
        LogParen(LOG_HERE, "NUBOPhotoShareSubDirUpdatePublic failed.");
        return -1;
    }
    if (strcmp(is_public, "t") == 0)
        return 0;
    if (NUBOPhotoShareSubDirPrivilegeAdd(sub_sharename, parent) == -1) {
        LogParen(LOG_HERE, "NUBOPhotoShareSubDirPrivilegeAdd failed.");
        return -1;
    }
    return 0;
}
