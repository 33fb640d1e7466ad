// Everything that an MP3 file tells about itself, in the order in which it has to be read.
#pragma once

#include "index/media_record.h"

// Reads tags, cover and stream into a record that holds its path already. 0; -1 (logged) when the file
// cannot be read or no frame is found, and then the record is left alone, tags or not.
int Mp3MetaParse(const char *path, MediaInfoRecord *record);
