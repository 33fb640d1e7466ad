// Cover pictures of MP4 files.
#pragma once

#include "audio/mp4_library.h"

// Writes the cover of an open file to where the platform keeps covers, with the media file's owner and mode 0777.
// 1 when it was written whole; 0 when there is none worth writing (silently) or a step failed, with its message.
int Mp4SaveCoverArt(MP4LibraryFile *file, const char *path);
