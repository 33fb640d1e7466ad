// AIFF and AIFF-C files.
#pragma once

#include "index/media_record.h"

int AiffIndexAdd(const char *path);     // 0 stored, even when the file could not be read; -1 nothing stored
int AiffIndexDelete(const char *path);  // 0 removed, -1 not removed

// Fills a record whole from an existing file; audio values stay 0 when the file is no AIFF file. 0; -1 for a bad
// parameter (logged) or a missing file (silent).
int AiffMetaParse(const char *path, MediaInfoRecord *record);
