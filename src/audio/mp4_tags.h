// What the MP4 library says about a file: its tracks, its tags, its cover.
#pragma once

#include "audio/mp4_library.h"
#include "index/media_record.h"

// Fills a record and saves the cover, after the covers of an earlier reading were removed. 0; -1 with its message
// when the file cannot be read or has no tracks.
int Mp4ReadTags(const char *path, MediaInfoRecord *record);

// Whole seconds, 0 when unknown.
uint64_t Mp4TrackSeconds(MP4LibraryFile *file, uint32_t track_id);
