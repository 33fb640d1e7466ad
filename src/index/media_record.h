// MediaInfoRecord: one media file as it is handed to the media-index library. The layout is an exchange
// format with a library that may be somebody else's binary, so every offset is pinned at the end.
#pragma once

#include <stddef.h>
#include <stdint.h>

// The table a record goes to.
enum {
    MEDIA_KIND_MUSIC = 0,
    MEDIA_KIND_VIDEO = 1,  // disc images, DVD structure files and subtitles too
    MEDIA_KIND_PHOTO = 2,
    MEDIA_KIND_PLAYLIST = 3,
    MEDIA_KIND_SUBTREE = 5,  // delete only: every row at or below a folder
};

// Native byte order; texts are NUL-terminated and cut to their field; a zero number means "unknown".
struct MediaInfoRecord {
    uint32_t reserved;
    char path[4096];  // as it stands in the request
    int32_t track;
    int32_t disc;
    int32_t year;
    char title[255];  // default: the file name without its last extension
    char album[255];  // default: the name of the folder that holds the file
    char artist[255];
    char genre[255];  // a name, or the number as text when it has none
    char composer[255];
    char comment[255];
    char camera_make[100];  // this and the next four: photo rows only
    char camera_model[100];
    char exposure_time[20];
    char aperture[20];
    char date_taken[32];   // "%d-%d-%d %d:%d:%d", not padded
    char create_time[32];  // the file's change time
    char modify_time[32];  // the file's modification time
    char reserved3[2];
    float duration;              // seconds
    uint32_t bitrate;            // audio, bit/s
    uint32_t container_bitrate;  // overall, bit/s
    uint32_t frequency;          // Hz
    uint32_t channels;
    uint32_t resolution_x;  // pixels
    uint32_t resolution_y;
    uint64_t filesize;  // bytes
    uint32_t reserved4;
    uint32_t title_encoding;  // 1: the text is UTF-16 with its byte-order mark; so the next five
    uint32_t artist_encoding;
    uint32_t album_encoding;
    uint32_t genre_encoding;
    uint32_t composer_encoding;
    uint32_t comment_encoding;
    uint32_t cover_count;  // embedded pictures saved, 0 or 1
    uint32_t iso;
    uint32_t reserved5;
};

static_assert(offsetof(MediaInfoRecord, reserved) == 0);
static_assert(offsetof(MediaInfoRecord, path) == 4);
static_assert(offsetof(MediaInfoRecord, track) == 4100);
static_assert(offsetof(MediaInfoRecord, disc) == 4104);
static_assert(offsetof(MediaInfoRecord, year) == 4108);
static_assert(offsetof(MediaInfoRecord, title) == 4112);
static_assert(offsetof(MediaInfoRecord, album) == 4367);
static_assert(offsetof(MediaInfoRecord, artist) == 4622);
static_assert(offsetof(MediaInfoRecord, genre) == 4877);
static_assert(offsetof(MediaInfoRecord, composer) == 5132);
static_assert(offsetof(MediaInfoRecord, comment) == 5387);
static_assert(offsetof(MediaInfoRecord, camera_make) == 5642);
static_assert(offsetof(MediaInfoRecord, camera_model) == 5742);
static_assert(offsetof(MediaInfoRecord, exposure_time) == 5842);
static_assert(offsetof(MediaInfoRecord, aperture) == 5862);
static_assert(offsetof(MediaInfoRecord, date_taken) == 5882);
static_assert(offsetof(MediaInfoRecord, create_time) == 5914);
static_assert(offsetof(MediaInfoRecord, modify_time) == 5946);
static_assert(offsetof(MediaInfoRecord, reserved3) == 5978);
static_assert(offsetof(MediaInfoRecord, duration) == 5980);
static_assert(offsetof(MediaInfoRecord, bitrate) == 5984);
static_assert(offsetof(MediaInfoRecord, container_bitrate) == 5988);
static_assert(offsetof(MediaInfoRecord, frequency) == 5992);
static_assert(offsetof(MediaInfoRecord, channels) == 5996);
static_assert(offsetof(MediaInfoRecord, resolution_x) == 6000);
static_assert(offsetof(MediaInfoRecord, resolution_y) == 6004);
static_assert(offsetof(MediaInfoRecord, filesize) == 6008);
static_assert(offsetof(MediaInfoRecord, reserved4) == 6016);
static_assert(offsetof(MediaInfoRecord, title_encoding) == 6020);
static_assert(offsetof(MediaInfoRecord, artist_encoding) == 6024);
static_assert(offsetof(MediaInfoRecord, album_encoding) == 6028);
static_assert(offsetof(MediaInfoRecord, genre_encoding) == 6032);
static_assert(offsetof(MediaInfoRecord, composer_encoding) == 6036);
static_assert(offsetof(MediaInfoRecord, comment_encoding) == 6040);
static_assert(offsetof(MediaInfoRecord, cover_count) == 6044);
static_assert(offsetof(MediaInfoRecord, iso) == 6048);
static_assert(offsetof(MediaInfoRecord, reserved5) == 6052);
static_assert(sizeof(MediaInfoRecord) == 6056);

// The defaults that every probing handler starts with: path, size, title and album from the name, both
// times. Expects a zero-filled record. 0; -1 for a bad parameter (logged) or a missing file (silent).
int MediaInfoCommonFill(const char *path, MediaInfoRecord *record);

// Records a folder in the media database. 0 saved, -1 otherwise.
int DirectoryInfoSave(const char *dir);
