#include "database/sample_rows.h"

#include <stdio.h>
#include <string.h>

void SampleRecord(MediaInfoRecord *record, long row)
{
    long album = row / ALBUM_ROWS % (ARTIST_ROWS / ALBUM_ROWS);
    const char *artist = row / ARTIST_ROWS % 4 ? "Name of the artist" : "Ein K\u00FCnstler";
    snprintf(record->path, sizeof record->path, "/volume1/music/Artist %04ld/Album %02ld/%02ld Title.mp3",
             row / ARTIST_ROWS, album, row % ALBUM_ROWS);
    snprintf(record->title, sizeof record->title, "Title of song %ld", row % ALBUM_ROWS);
    snprintf(record->album, sizeof record->album, "Name of album %ld", album);
    strcpy(record->artist, artist);
    strcpy(record->genre, "Rock");
    strcpy(record->comment, "Taken from the disc with care");
    strcpy(record->create_time, "2026-03-01 12:00:00");
    strcpy(record->modify_time, "2026-02-27 08:30:15");
    record->track = static_cast<int32_t>(row % ALBUM_ROWS) + 1;
    record->year = 1990 + static_cast<int32_t>(album % 30);
    record->duration = 245.5f;
    record->bitrate = 192000;
    record->container_bitrate = 192000;
    record->frequency = 44100;
    record->channels = 2;
    record->filesize = 5892311;
}
