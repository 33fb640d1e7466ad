// PhotoInfoRecord: one photo as it is handed to the photo database library.
#pragma once

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
