// Raw AAC files. Their rows are removed by MediaAudioDelete.
#pragma once

#include "index/media_record.h"

int AacIndexAdd(const char *path);  // 0 stored, 1 stored with defaults only, -1 nothing stored

// Runs the decoder program and waits for its end, however long that takes; duration, sample rate, channels and
// bit rate go into the record. 0; -1 when the decoder gave no line or another one: the values before the first
// that is missing are set then.
int AacMetaParse(const char *path, MediaInfoRecord *record);

// Scans a line of the decoder, at most 1023 characters of it. 0 when all four values are there, else -1; without
// a message.
int AacLineScan(const char *line, MediaInfoRecord *record);
