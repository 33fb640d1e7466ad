// Fields to columns. The list of columns and the list of values follow each other line by line.
#include "mediaindex/media_row.h"

#include <math.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

const char MEDIA_ROW_COLUMNS[] = "path, track, disc, year,"
                                 " title, album, artist, genre, composer, comment,"
                                 " camera_make, camera_model, exposure_time, aperture, date_taken,"
                                 " create_time, modify_time,"
                                 " duration, bitrate, container_bitrate, frequency, channels,"
                                 " resolution_x, resolution_y, filesize, cover_count, iso";

template <size_t size>
static DbValue Field(const char (&field)[size])
{
    return DbText(field, strnlen(field, size));
}

std::vector<DbValue> MediaRowValues(const MediaInfoRecord &record)
{
    double duration = isfinite(record.duration) ? static_cast<double>(record.duration) : 0.0;
    int64_t filesize = record.filesize > INT64_MAX ? INT64_MAX : static_cast<int64_t>(record.filesize);
    return {
        Field(record.path),
        DbInteger(record.track),
        DbInteger(record.disc),
        DbInteger(record.year),
        Field(record.title),
        Field(record.album),
        Field(record.artist),
        Field(record.genre),
        Field(record.composer),
        Field(record.comment),
        Field(record.camera_make),
        Field(record.camera_model),
        Field(record.exposure_time),
        Field(record.aperture),
        Field(record.date_taken),
        Field(record.create_time),
        Field(record.modify_time),
        DbReal(duration),
        DbInteger(record.bitrate),
        DbInteger(record.container_bitrate),
        DbInteger(record.frequency),
        DbInteger(record.channels),
        DbInteger(record.resolution_x),
        DbInteger(record.resolution_y),
        DbInteger(filesize),
        DbInteger(record.cover_count),
        DbInteger(record.iso),
    };
}

void MediaTimeNormalise(char *text, size_t size)
{
    char copy[64];  // longer than either form; a longer text is none
    size_t length = strnlen(text, size);
    bool is_normal = text[0] >= '0' && text[0] <= '9';
    if (is_normal || length >= sizeof copy)
        return;
    memcpy(copy, text, length);
    copy[length] = '\0';

    char month[4];
    int day = 0, hour = 0, minute = 0, second = 0, year = 0;
    if (sscanf(copy, "%*3s %3s %d %d:%d:%d %d", month, &day, &hour, &minute, &second, &year) != 6)
        return;
    static constexpr char MONTHS[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const char *found = strstr(MONTHS, month);
    if (strlen(month) != 3 || !found || (found - MONTHS) % 3 != 0)
        return;
    int number = static_cast<int>(found - MONTHS) / 3 + 1;
    char normal[64];
    int written = snprintf(normal, sizeof normal, "%04d-%02d-%02d %02d:%02d:%02d", year, number, day, hour,
                           minute, second);
    if (written > 0 && static_cast<size_t>(written) < size && written < static_cast<int>(sizeof normal))
        memcpy(text, normal, static_cast<size_t>(written) + 1);
}
