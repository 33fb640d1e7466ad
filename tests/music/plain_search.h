// The searches of the MP3 reader, written byte by byte as they are defined. They are slow and obvious; the quick ones
// must give the same answers.
#pragma once

#include <stdint.h>

#include <string_view>

#include "music/mpeg_audio.h"

struct PlainFrame {
    int result;          // 0 found, -1 none
    int64_t offset;      // of the first frame
    int not_found_logs;  // how often the scan ran into the end
};

PlainFrame PlainFirstFrameFind(std::string_view file, int64_t size, int64_t start, MpegAudioInfo *info);

// The first `mark` that begins in [from, size / 4), or -1.
int64_t PlainMarkFind(std::string_view file, int64_t size, int64_t from, std::string_view mark);
