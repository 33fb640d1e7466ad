// The photo database's operations.
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <syslog.h>

#include <string>

#include "nubodb/database.h"
#include "nubodb/missed.h"
#include "photodb/exported.h"
#include "photodb/given_text.h"

static constexpr size_t PATH_SIZE = sizeof PhotoInfoRecord::path;

// The request that makes every photo and album row good again.
static constexpr char RESYNCHRONISATION[] = "R:photo";

static const char *const TABLES[] = {"photo", "video_desc", "video_comment", "photo_share",
                                     "photo_access_right"};

NuboDbHandle *PhotoInfoDBOpen(int table, const char *columns, const char *condition, int, const char *order,
                              int, int limit)
{
    if (table < 0 || table >= static_cast<int>(sizeof TABLES / sizeof TABLES[0]))
        return nullptr;
    NuboDbHandle *handle = DbQuery(DB_PHOTO, TABLES[table], columns, condition, order, limit);
    if (!handle)
        DbUnread(DB_PHOTO, RESYNCHRONISATION);
    return handle;
}

void PhotoInfoDBClose(NuboDbHandle *handle)
{
    DbHandleClose(handle);
}

// A pass sets every mark back, marks what it sees, and removes the rest. When the database failed in between, what has
// no mark may still be there, and an album's rights or a photo's title would go with its row for good.
struct SweepGuard {
    const char *what;
    int64_t troubles_at_reset;  // -1: no pass of this process
};
static SweepGuard photo_sweep = {"photos", -1};
static SweepGuard album_sweep = {"albums", -1};

static void SweepBegin(SweepGuard *guard)
{
    guard->troubles_at_reset = DbTroubles(DB_PHOTO);
}

// May rows without a mark be removed? If not, another pass is asked for.
static bool IsSweepSafe(const SweepGuard &guard)
{
    if (guard.troubles_at_reset < 0 || guard.troubles_at_reset == DbTroubles(DB_PHOTO))
        return true;
    syslog(LOG_NOTICE, "photodb: the database failed while %s were marked; none is removed", guard.what);
    MissedNote(RESYNCHRONISATION);
    return false;
}

static bool BeginsWith(const char *sql, const char *begin)
{
    return sql && strncasecmp(sql, begin, strlen(begin)) == 0;
}

int PhotoDBExec(const char *sql)
{
    bool is_sweep = BeginsWith(sql, "delete from photo_share where updated");
    if (is_sweep && !IsSweepSafe(album_sweep))
        return -1;
    if (BeginsWith(sql, "update photo_share set updated = '0'"))
        SweepBegin(&album_sweep);
    int64_t changed = DbChanged(DB_PHOTO, RESYNCHRONISATION, DbExecute(DbOpen(DB_PHOTO), sql, nullptr));
    return changed > INT32_MAX ? INT32_MAX : static_cast<int>(changed);
}

int PhotoDBVacuum(void)
{
    return DbVacuum(DB_PHOTO);
}

static PhotoPathList *PathNode(const char *path)
{
    auto *node = static_cast<PhotoPathList *>(malloc(sizeof(PhotoPathList)));
    char *copy = strdup(path);
    if (!node || !copy) {
        free(node);
        free(copy);
        return nullptr;
    }
    *node = {copy, nullptr};
    return node;
}

PhotoPathList *PhotoPathDBGet(NuboDbHandle *handle)
{
    if (!handle || !handle->result)
        return nullptr;
    PhotoPathList *list = nullptr;
    PhotoPathList **tail = &list;
    for (int row = 0; row < handle->row_count; row++) {
        const char *path = NUBODBFetchField(handle->result, row, "path");
        if (!path)
            continue;
        *tail = PathNode(path);
        if (!*tail) {
            FreePhotoPathList(list);
            return nullptr;
        }
        tail = &(*tail)->next;
    }
    return list;
}

void FreePhotoPathList(PhotoPathList *list)
{
    while (list) {
        PhotoPathList *next = list->next;
        free(list->path);
        free(list);
        list = next;
    }
}

static std::string FileName(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

static std::string FolderName(const std::string &path)
{
    size_t end = path.rfind('/');
    if (end == std::string::npos || end == 0)
        return "";
    size_t begin = path.rfind('/', end - 1);
    return begin == std::string::npos ? "" : path.substr(begin + 1, end - begin - 1);
}

static std::string Stem(const std::string &name)
{
    return name.substr(0, name.rfind('.'));
}

// The record's field holds 254 bytes.
static std::string Cut(std::string text)
{
    return text.substr(0, sizeof PhotoInfoRecord::name - 1);
}

// The folder at its new place may have been read before its rename was told: the row that comes knows more, such as
// the photo's title, and takes the place of the one that is there.
static int PlaceClear(NuboDbConnection *connection, const std::string &old_path, const std::string &new_path)
{
    static constexpr char SQL[] =
        "delete from photo where path = $1 and path <> $2 and exists (select 1 from photo where path = $3)";
    return DbRun(connection, SQL,
                 {DbText(new_path.c_str()), DbText(old_path.c_str()), DbText(old_path.c_str())}) < 0
               ? -1
               : 0;
}

// What a path says about a photo goes with it. A title that is the old name without its extension is the one that
// nobody gave.
static int PathMove(NuboDbConnection *connection, const std::string &old_path, const std::string &new_path)
{
    static constexpr char SQL[] = "update photo set path = $1, name = $2, album = $3,"
                                  " title = case when title = $4 then $5 else title end where path = $6";
    std::string name = Cut(FileName(new_path));
    std::string album = Cut(FolderName(new_path));
    std::string old_title = Stem(Cut(FileName(old_path)));
    std::string title = Stem(name);
    return DbRun(connection, SQL,
                 {DbText(new_path.c_str()), DbText(name.c_str()), DbText(album.c_str()),
                  DbText(old_title.c_str()), DbText(title.c_str()), DbText(old_path.c_str())}) < 0
               ? -1
               : 0;
}

static int PathsMove(NuboDbConnection *connection, const PhotoPathList *list, const char *new_prefix,
                     const char *old_prefix)
{
    size_t length = strlen(old_prefix);
    for (; list; list = list->next) {
        if (strncmp(list->path, old_prefix, length) != 0)
            continue;
        std::string new_path = std::string(new_prefix) + (list->path + length);
        if (new_path.size() >= PATH_SIZE) {
            syslog(LOG_ERR, "photodb: too long a path after a rename to %s", new_prefix);
            return -1;
        }
        if (PlaceClear(connection, list->path, new_path) < 0 || PathMove(connection, list->path, new_path) < 0)
            return -1;
    }
    return 0;
}

int NUBOUpdatePhotoPath(PhotoPathList *list, const char *new_prefix, const char *old_prefix)
{
    if (!new_prefix || !*new_prefix || !old_prefix || !*old_prefix)
        return -1;
    NuboDbConnection *connection = DbOpen(DB_PHOTO);
    if (DbBegin(connection) == 0 && PathsMove(connection, list, new_prefix, old_prefix) == 0 &&
        DbCommit(connection) == 0)
        return static_cast<int>(DbChanged(DB_PHOTO, RESYNCHRONISATION, 0));
    DbRollback(connection);
    return static_cast<int>(DbChanged(DB_PHOTO, RESYNCHRONISATION, -1));
}

template <size_t size>
static DbValue Field(const char (&field)[size])
{
    return DbText(field, strnlen(field, size));
}

// A description file hands its text over once, and from then on the row is all that knows it. Whoever reads the photo
// again has only the file's name for a title and nothing for a description; what was given before stays then.
static constexpr char SAVE[] =
    "insert into photo (path, name, title, description, album, camera_make, camera_model, exposure_time, "
    "aperture,"
    " date_taken, create_time, resolution_x, resolution_y, iso, filesize, updated)"
    " values ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12, $13, $14, $15, 1)"
    " on conflict (path) do update set name = excluded.name,"
    " title = case when excluded.title = $16 then photo.title else excluded.title end,"
    " description = case when excluded.description = '' then photo.description else excluded.description end,"
    " album = excluded.album, camera_make = excluded.camera_make,"
    " camera_model = excluded.camera_model, exposure_time = excluded.exposure_time, aperture = "
    "excluded.aperture,"
    " date_taken = excluded.date_taken, create_time = excluded.create_time, resolution_x = "
    "excluded.resolution_x,"
    " resolution_y = excluded.resolution_y, iso = excluded.iso, filesize = excluded.filesize, updated = 1";

// Adding and seeing again are the same here: both set the "updated" mark.
int PhotoInfoDBSave(const PhotoInfoRecord *record, int)
{
    if (!record || !record->path[0] || strnlen(record->path, PATH_SIZE) == PATH_SIZE)
        return -1;
    int64_t filesize = record->filesize > INT64_MAX ? INT64_MAX : static_cast<int64_t>(record->filesize);
    std::string name_title = Stem(Cut(FileName(record->path)));
    const DbValue values[] = {
        Field(record->path),
        Field(record->name),
        Field(record->title),
        Field(record->description),
        Field(record->album),
        Field(record->camera_make),
        Field(record->camera_model),
        Field(record->exposure_time),
        Field(record->aperture),
        Field(record->date_taken),
        Field(record->create_time),
        DbInteger(record->resolution_x),
        DbInteger(record->resolution_y),
        DbInteger(record->iso),
        DbInteger(filesize),
        DbText(name_title.c_str()),
    };
    int64_t changed = DbRun(DbOpen(DB_PHOTO), SAVE, values, sizeof values / sizeof values[0]);
    if (DbChanged(DB_PHOTO, std::string("f") + record->path, changed) >= 0)
        return 0;
    GivenTextRestore(record->path, "NUBOPHOTO:TITLE", record->title, name_title);
    GivenTextRestore(record->path, "NUBOPHOTO:DESC", record->description, "");
    return -1;
}

int PhotoInfoDBDelete(const char *path)
{
    static constexpr char SQL[] = "delete from photo where path = $1";
    if (!path || !*path)
        return -1;
    return DbChanged(DB_PHOTO, std::string("f") + path, DbRun(DbOpen(DB_PHOTO), SQL, {DbText(path)})) < 0 ? -1
                                                                                                          : 0;
}

// The folder may have been a file: then its own row goes.
int PhotoInfoDBDirDelete(const char *dir)
{
    static constexpr char SQL[] = "delete from photo where path = $1 or (path >= $2 and path < $3)";
    if (!dir || !*dir)
        return -1;
    DbSubtree subtree = DbSubtreeOf(dir);
    int64_t changed =
        DbRun(DbOpen(DB_PHOTO), SQL,
              {DbText(subtree.folder.c_str()), DbText(subtree.first.c_str()), DbText(subtree.end.c_str())});
    return DbChanged(DB_PHOTO, "s" + subtree.folder, changed) < 0 ? -1 : 0;
}

int NUBOPhotoInitAllRows(void)
{
    SweepBegin(&photo_sweep);
    int64_t changed = DbRun(DbOpen(DB_PHOTO), "update photo set updated = 0 where updated <> 0");
    return DbChanged(DB_PHOTO, RESYNCHRONISATION, changed) < 0 ? -1 : 0;
}

int NUBOPhotoDeleteNoUpdateRows(void)
{
    if (!IsSweepSafe(photo_sweep))
        return -1;
    int64_t changed = DbRun(DbOpen(DB_PHOTO), "delete from photo where updated = 0");
    return DbChanged(DB_PHOTO, RESYNCHRONISATION, changed) < 0 ? -1 : 0;
}
