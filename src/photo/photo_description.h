// Description files: what the owner of a photo wrote about it, one file a photo (or album folder) and key, left by
// the web front end and read once.
#pragma once

#include "common/log.h"
#include "photo/photo_record.h"

// Reads the first line of the description file of `path` for `key`, line feed included, and deletes the file: a
// value is handed over once. An empty first line is no value. The stream stays open; the last 64 do.
// 0: a value is in `out`, cut at out_size - 1 bytes; -1: none.
int ReadPhotoEA(const char *path, const char *key, char *out, int out_size);

// The same for a caller whose messages carry its own place.
int DescriptionRead(LogSite at, const char *path, const char *key, char *out, int out_size);

// Title and description of a photo. 1 when the record's field was set, else 0 with the field as it was.
int GetPhotoTitle(const char *path, PhotoInfoRecord *record);
int GetPhotoDesc(const char *path, PhotoInfoRecord *record);
