// MPEG audio frame headers: finding them, decoding them, and the first one that can be trusted.
#pragma once

#include <stdint.h>

#include "music/mp3_reader.h"

// What one frame header says. Zeroed by the caller; a header that turns out invalid leaves what was decoded
// before the defect.
struct MpegAudioInfo {
    int version;         // 1 MPEG-1, 2 MPEG-2, 3 MPEG-2.5
    int layer;           // 1, 2, 3; -1 for the reserved code
    int crc;             // 1: a check sum follows the header
    int bitrate;         // bit/s once decoded
    float byte_rate;     // bytes per second
    int sample_rate;     // Hz
    int mode;            // the two channel-mode bits: 0 stereo, 1 joint stereo, 2 dual channel, 3 mono
    int padding;         // 0 or 1
    int mode_extension;  // two bits, -1 unless mode is 1
    int emphasis;        // two bits
    int copyright;       // 0 or 1
    int original;        // 0 or 1
    double duration;     // seconds, from the size of the whole file at this bit rate
    int frame_length;    // bytes
    int64_t frame_offset;
};

// Scans from *pos on for a sync and decodes the header there. 1: a valid header at *pos. 0: the header at
// *pos is not valid, or (logged) none came up and *pos is ten bytes before the end of the file.
int MpegHeaderFind(Mp3FileReader *reader, int64_t *pos, MpegAudioInfo *info);

// 0 when a valid header stands exactly at pos, else -1. Has no bound of its own, and does not compare the
// header with any other.
int MpegHeaderCheck(Mp3FileReader *reader, int64_t pos);

// The first header from `start` on that another one follows. 0: `info` and `offset` are filled; -1: none.
int MpegFirstFrameFind(Mp3FileReader *reader, int64_t start, MpegAudioInfo *info, int64_t *offset);
