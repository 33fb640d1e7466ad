// The per-file work of the photo share.
#include "photo/photo_index.h"

#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/text.h"
#include "index/index_modes.h"
#include "index/name_defaults.h"
#include "photo/exif.h"
#include "photo/job_queue.h"
#include "photo/photo_description.h"
#include "photo/photo_record.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "photo_index";

static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";
static constexpr int64_t PHOTO_SIZE_LIMIT = 20 << 20;  // bytes; photos of this size and above are left out

enum FileKind { KIND_NONE, KIND_PHOTO, KIND_WEB_VIDEO, KIND_OTHER_VIDEO };

static FileKind KindOf(const char *ext)
{
    if (BlNUBOIndexIsPhotoOnWeb(ext))
        return KIND_PHOTO;
    if (BlNUBOIndexIsVideoOnWeb(ext))
        return KIND_WEB_VIDEO;
    if (BlNUBOIndexIsVideo(ext))
        return KIND_OTHER_VIDEO;
    return KIND_NONE;
}

static void FileAdd(FileKind kind, const char *path)
{
    if (kind == KIND_PHOTO)
        (void)PhotoInfoAdd(path, INDEX_MODE_ADD);
    QueueMediaConversion(path, CONVERT_THUMB | CONVERT_FLV);
}

static void FileRefresh(FileKind kind, const char *path)
{
    if (kind == KIND_PHOTO)
        (void)PhotoInfoAdd(path, INDEX_MODE_REFRESH);
    else
        (void)NUBOIndexPhotoUpdateVideoStatus(path);
}

int PhotoIndexPath(const char *path, int mode)
{
    if (!path || (mode != INDEX_MODE_ADD && mode != INDEX_MODE_DELETE && mode != INDEX_MODE_REFRESH)) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (IsDirExist(path))
        return -1;
    const char *dot = strrchr(path, '.');
    if (!dot)
        return -1;
    FileKind kind = KindOf(dot + 1);
    if (kind == KIND_NONE)
        return -1;
    if (kind == KIND_OTHER_VIDEO)
        (void)NLIBExec(VIDEO_CONVERTER_PROGRAM, "-f", path, nullptr, nullptr);

    switch (mode) {
    case INDEX_MODE_DELETE:
        (void)PhotoInfoRemove(path);
        return 0;
    case INDEX_MODE_ADD:
        FileAdd(kind, path);
        return 0;
    case INDEX_MODE_REFRESH:
        FileRefresh(kind, path);
        return 0;
    default:
        LogParen(LOG_HERE, "Bad mode!! This should never happen.");
        return -1;
    }
}

static void NamesFill(PhotoInfoRecord *record, const char *path)
{
    TextSet(record->path, path);
    TextSet(record->name, FileNameOf(path));
    if (!GetPhotoTitle(path, record))
        TitleFromPath(path, record->title, sizeof record->title);
    (void)GetPhotoDesc(path, record);
    if (!AlbumFromPath(path, record->album, sizeof record->album))
        LogParen(LOG_HERE, "Impossible error.");
}

static void CreateTimeSet(PhotoInfoRecord *record, time_t when)
{
    char text[64];
    if (ctime_r(&when, text))  // fails for years of more than four digits
        TextSet(record->create_time, text);
}

static void DateFromChangeTime(PhotoInfoRecord *record, time_t when)
{
    struct tm local;
    if (!localtime_r(&when, &local) ||
        strftime(record->date_taken, sizeof record->date_taken, "%F %T", &local) == 0)
        *record->date_taken = '\0';
}

// Size, camera and pixel fields and the times. False when the photo is to be left out.
static bool ContentFill(PhotoInfoRecord *record)
{
    struct stat status;
    if (stat(record->path, &status) != 0)
        return false;
    if (status.st_size <= 0 || status.st_size >= PHOTO_SIZE_LIMIT)
        return false;
    record->filesize = static_cast<uint64_t>(status.st_size);
    (void)PhotoExifGet(record);

    if (stat(record->path, &status) != 0)
        return false;
    CreateTimeSet(record, status.st_ctime);
    int width = 0;
    int height = 0;
    if (NUBOIndexImgResGet(record->path, &width, &height) == 0) {
        record->resolution_x = width;
        record->resolution_y = height;
    }
    PhotoRecordSanitize(record);
    if (!*record->date_taken)
        DateFromChangeTime(record, status.st_ctime);
    return true;
}

int PhotoInfoAdd(const char *path, int mode)
{
    if (!path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (strstr(path, ATTRIBUTE_FOLDER))
        return -1;
    if (*FileNameOf(path) == '.')
        return -1;

    PhotoInfoRecord record = {};
    NamesFill(&record, path);
    if (!ContentFill(&record))
        return -1;
    if (PhotoInfoDBSave(&record, mode) != 0) {
        LogParen(LOG_HERE, "Failed to save photo info.");
        return -1;
    }
    return 0;
}

int PhotoInfoRemove(const char *path)
{
    if (IsFileExist(path, nullptr)) {
        LogParen(LOG_HERE, "File exists. Skip remove it from database.");
        return -1;
    }
    if (strstr(path, ATTRIBUTE_FOLDER))
        return -1;
    if (PhotoInfoDBDelete(path) != 0)
        LogParen(LOG_HERE, "Failed to remove %s from database.", path);
    return 0;
}
