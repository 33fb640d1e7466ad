// EXIF through libexif. Values are stored as the texts that libexif makes of them.
#include "photo/exif.h"

#include <libexif/exif-data.h>
#include <libexif/exif-loader.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include "common/log.h"
#include "common/text.h"

static constexpr char LOG_MODULE[] = "exif";

static constexpr unsigned VALUE_SIZE = 128;
static constexpr char EXIF_DATE_FORMAT[] = "%Y:%m:%d %H:%M:%S";

static bool IsWantedTag(ExifTag tag)
{
    switch (tag) {
    case EXIF_TAG_MAKE:
    case EXIF_TAG_MODEL:
    case EXIF_TAG_EXPOSURE_TIME:
    case EXIF_TAG_FNUMBER:
    case EXIF_TAG_DATE_TIME_ORIGINAL:
    case EXIF_TAG_ISO_SPEED_RATINGS:
    case EXIF_TAG_PIXEL_X_DIMENSION:
    case EXIF_TAG_PIXEL_Y_DIMENSION:
        return true;
    default:
        return false;
    }
}

static bool IsExifDate(const char *text)
{
    struct tm when = {};
    return strptime(text, EXIF_DATE_FORMAT, &when) != nullptr;
}

static int ValueStore(ExifTag tag, const char *value, PhotoInfoRecord *record)
{
    switch (tag) {
    case EXIF_TAG_MAKE:
        TextSet(record->camera_make, value);
        return 0;
    case EXIF_TAG_MODEL:
        TextSet(record->camera_model, value);
        return 0;
    case EXIF_TAG_EXPOSURE_TIME:
        TextSet(record->exposure_time, value);
        return 0;
    case EXIF_TAG_FNUMBER:
        TextSet(record->aperture, value);
        return 0;
    case EXIF_TAG_DATE_TIME_ORIGINAL:
        if (IsExifDate(value))
            TextSet(record->date_taken, value);
        return 0;
    case EXIF_TAG_ISO_SPEED_RATINGS:
        record->iso = atoi(value);
        return 0;
    case EXIF_TAG_PIXEL_X_DIMENSION:
        record->resolution_x = atoi(value);
        return 0;
    case EXIF_TAG_PIXEL_Y_DIMENSION:
        record->resolution_y = atoi(value);
        return 0;
    default:
        LogParen(LOG_HERE, "Impossible error occurred.");
        return -1;
    }
}

static int ContentRead(const ExifContent *content, PhotoInfoRecord *record)
{
    for (unsigned i = 0; i < content->count; i++) {
        ExifEntry *entry = content->entries[i];
        if (!IsWantedTag(entry->tag))
            continue;
        char value[VALUE_SIZE] = "";
        (void)exif_entry_get_value(entry, value, sizeof value);
        if (ValueStore(entry->tag, value, record) < 0)
            return -1;
    }
    return 0;
}

static int DataRead(const ExifData *data, PhotoInfoRecord *record)
{
    for (const ExifContent *content : data->ifd)
        if (ContentRead(content, record) < 0)
            return -1;
    return 0;
}

// Null when the file has no EXIF data. A pipe that is named like a photo is not opened: that would wait for a
// writer for ever.
static ExifData *DataLoad(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    ExifLoader *loader = exif_loader_new();
    if (!loader)
        return nullptr;
    exif_loader_write_file(loader, path);
    ExifData *data = exif_loader_get_data(loader);
    exif_loader_unref(loader);
    return data;
}

int PhotoExifGet(PhotoInfoRecord *record)
{
    if (!record) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    ExifData *data = DataLoad(record->path);
    if (!data)
        return 0;
    int result = DataRead(data, record);
    exif_data_unref(data);
    return result;
}
