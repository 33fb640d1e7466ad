// FLAC files. Their rows are removed by MediaAudioDelete.
#pragma once

#include "index/media_record.h"

int FlacIndexAdd(const char *path);  // 0 stored, 1 stored with defaults only, -1 nothing stored

// Reads stream information and comments into the record. 0; -1 with its message when either cannot be read:
// stream fields read before stay set.
int FlacMetaParse(const char *path, MediaInfoRecord *record);
