// Pictures of ID3v2 tags, written out as cover files.
#pragma once

#include <stdint.h>

#include "music/mp3_reader.h"

// Saves the picture of the frame at frame_offset (`frame_size` bytes behind its header; version 2: a PIC
// frame, else APIC) as picture number `index` of the media file, with the media file's owner and mode 0777.
// 1: the cover file is complete; 0: there is none, and the reason is logged unless the picture is too small
// to be one. A frame longer than the file is filled up with what stands for missing bytes.
int Id3CoverSave(Mp3FileReader *reader, int64_t frame_offset, uint32_t frame_size, const char *media_path,
                 int index, int version);
