// The sequence header of an MPEG video stream and its MPEG-2 extension.
#pragma once

#include "video/mpeg_stream.h"

// Zeroed by the caller.
struct MpegVideoInfo {
    uint32_t width;  // pixels
    uint32_t height;
    double frame_rate;       // frames per second, 0 for a code without a meaning
    uint32_t bitrate_value;  // in units of 400 bit/s
    double duration;         // seconds, from the file's size at this bit rate; infinite when that is 0
    uint8_t aspect_ratio;    // the stream's own code
};

// Reads the sequence header at an offset and the extensions that follow it before the first group of pictures.
// 0; -1 when no sequence header stands there.
int MpegSequenceHeaderRead(MpegStreamReader *reader, int64_t offset, MpegVideoInfo *info);
