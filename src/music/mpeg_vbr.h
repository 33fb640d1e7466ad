// Xing and VBRI headers: the true play time and bit rate of a file of variable bit rate.
#pragma once

#include "music/mpeg_audio.h"

// Looks for "Xing" from the first frame through the first quarter of the file; "Info" is not one. -1 when it
// is absent or counts no frames, else 0, and duration and bitrate of `info` are refined as far as it tells.
// bitrate saturates.
int MpegXingRead(Mp3FileReader *reader, int64_t frame_offset, MpegAudioInfo *info);

// The same for "VBRI". After a MpegXingRead of the same frame it costs no second pass through the file.
int MpegVbriRead(Mp3FileReader *reader, int64_t frame_offset, MpegAudioInfo *info);
