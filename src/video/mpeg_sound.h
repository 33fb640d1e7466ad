// The sound of an MPEG program stream.
#pragma once

#include "music/mpeg_audio.h"
#include "video/mpeg_stream.h"

// Fills `info`, which is zero before, from the first audio frame of the first sound stream. Without one it holds
// what the last header that was looked at left in it.
void MpegSoundFind(MpegStreamReader *reader, MpegAudioInfo *info);
