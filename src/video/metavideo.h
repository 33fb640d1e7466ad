// What a video CD file says about itself.
#pragma once

#include "index/media_record.h"

// Fills the video and audio fields. 0; -1, with its message, when the file cannot be opened or sized or holds no
// video header.
int VideoMetaParse(const char *path, MediaInfoRecord *record);
