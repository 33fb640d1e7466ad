// The photo handlers of the media database. The record is saved without MediaInfoValid; a failed save is
// reported in the words of the playlist handler.
#include "photo/photo_media.h"

#include <stdio.h>
#include <string.h>

#include "common/log.h"
#include "common/text.h"
#include "index/media_record.h"
#include "index/name_defaults.h"
#include "photo/exif.h"
#include "photo/photo_record.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "photo_media";

static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";

// The camera's date with colons becomes one with dashes, its numbers without leading zeros: 2010-3-5 7:8:9. A
// text that is no date leaves the field empty.
static void DateTakenSet(MediaInfoRecord *record, const char *date)
{
    int year, month, day, hours, minutes, seconds;
    if (sscanf(date, "%d-%d-%d %d:%d:%d", &year, &month, &day, &hours, &minutes, &seconds) == 6) {
        TextSet(record->date_taken, date);
        return;
    }
    if (sscanf(date, "%d:%d:%d %d:%d:%d", &year, &month, &day, &hours, &minutes, &seconds) != 6)
        return;
    char text[96];
    snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d", year, month, day, hours, minutes, seconds);
    TextSet(record->date_taken, text);
}

static void ExifFieldsSet(MediaInfoRecord *record, const char *path)
{
    PhotoInfoRecord photo = {};
    TextSet(photo.path, path);
    (void)PhotoExifGet(&photo);
    PhotoRecordSanitize(&photo);

    TextSet(record->camera_make, photo.camera_make);
    TextSet(record->camera_model, photo.camera_model);
    TextSet(record->exposure_time, photo.exposure_time);
    TextSet(record->aperture, photo.aperture);
    if (*photo.date_taken)
        DateTakenSet(record, photo.date_taken);
    record->resolution_x = static_cast<uint32_t>(photo.resolution_x);
    record->resolution_y = static_cast<uint32_t>(photo.resolution_y);
    record->iso = static_cast<uint32_t>(photo.iso);
}

static void PictureFieldsSet(MediaInfoRecord *record, const char *path, const char *ext)
{
    (void)NUBOIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                                 sizeof record->modify_time);
    if (BlNUBOIndexIsJpeg(ext))
        ExifFieldsSet(record, path);
    int width = 0;
    int height = 0;
    if (NUBOIndexImgResGet(path, &width, &height) == 0) {
        record->resolution_x = static_cast<uint32_t>(width);
        record->resolution_y = static_cast<uint32_t>(height);
    }
}

int PhotoMediaAdd(const char *path)
{
    if (!path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    if (strstr(path, ATTRIBUTE_FOLDER))
        return 0;  // a success, where the photo database's add reports a failure

    MediaInfoRecord record = {};
    TextSet(record.path, path);
    record.filesize = size;
    TitleFromPath(path, record.title, sizeof record.title);
    if (!AlbumFromPath(path, record.album, sizeof record.album))
        LogParen(LOG_HERE, "Impossible error.");
    const char *dot = strrchr(path, '.');
    if (dot)
        PictureFieldsSet(&record, path, dot + 1);

    if (MediaInfoDBSave(MEDIA_KIND_PHOTO, &record) != 0) {
        LogParen(LOG_HERE, "Failed to save playlist info.");
        return -1;
    }
    return 0;
}

int PhotoMediaDelete(const char *path)
{
    if (IsFileExist(path, nullptr)) {
        LogParen(LOG_HERE, "File exists. Skip remove it from database.");
        return -1;
    }
    if (MediaInfoDBDelete(MEDIA_KIND_PHOTO, path) != 0)
        LogParen(LOG_HERE, "Failed to remove %s from database.", path);
    return 0;
}
