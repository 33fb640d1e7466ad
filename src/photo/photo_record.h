// PhotoInfoRecord: one photo as it is handed to the photo database library. The layout is an exchange format
// with a library that may be somebody else's binary, so every offset is pinned.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Zero-filled before it is filled; texts are NUL-terminated and cut to their field.
struct PhotoInfoRecord {
    uint32_t reserved;
    char path[4096];
    char name[255];         // file name
    char title[255];        // description file's first line, line end included; else the name without extension
    char description[255];  // description file's first line, or empty
    char album[255];        // name of the folder that holds the file
    char camera_make[100];
    char camera_model[100];
    char exposure_time[20];
    char aperture[20];
    char date_taken[32];   // as the camera wrote it (colons), else the change time as "%F %T" (dashes)
    char create_time[32];  // ctime text of the change time, its line feed included
    int32_t resolution_x;  // pixels
    int32_t resolution_y;
    int32_t iso;
    uint64_t filesize;  // bytes
};

static_assert(offsetof(PhotoInfoRecord, path) == 4);
static_assert(offsetof(PhotoInfoRecord, name) == 4100);
static_assert(offsetof(PhotoInfoRecord, title) == 4355);
static_assert(offsetof(PhotoInfoRecord, description) == 4610);
static_assert(offsetof(PhotoInfoRecord, album) == 4865);
static_assert(offsetof(PhotoInfoRecord, camera_make) == 5120);
static_assert(offsetof(PhotoInfoRecord, camera_model) == 5220);
static_assert(offsetof(PhotoInfoRecord, exposure_time) == 5320);
static_assert(offsetof(PhotoInfoRecord, aperture) == 5340);
static_assert(offsetof(PhotoInfoRecord, date_taken) == 5360);
static_assert(offsetof(PhotoInfoRecord, create_time) == 5392);
static_assert(offsetof(PhotoInfoRecord, resolution_x) == 5424);
static_assert(offsetof(PhotoInfoRecord, resolution_y) == 5428);
static_assert(offsetof(PhotoInfoRecord, iso) == 5432);
static_assert(offsetof(PhotoInfoRecord, filesize) == (alignof(uint64_t) == 8 ? 5440 : 5436));

// Drops what a camera or a damaged file may have put in: a width or height outside 0..8000 becomes 0; date,
// make and model are emptied when a byte of theirs is below 32, or 128 and above.
void PhotoRecordSanitize(PhotoInfoRecord *record);
