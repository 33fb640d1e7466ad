// MP4 music files (m4a, m4p, m4b).
#pragma once

#include "index/media_record.h"

int Mp4IndexAdd(const char *path);     // 0 stored, 1 stored with defaults only, -1 nothing stored
int Mp4IndexDelete(const char *path);  // 0 removed, -1 not removed

// Fills a record whole from an existing file and saves the cover. 0; 1 when the file could not be read (names, size
// and times are there); -1 for a bad parameter (logged) or a missing file (silent).
int Mp4MetaParse(const char *path, MediaInfoRecord *record);
