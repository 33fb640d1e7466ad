// Stream info and tags of a music file, put together in its media record.
#pragma once

#include "index/media_record.h"
#include "music/id3v1.h"
#include "music/id3v2.h"
#include "music/mpeg_audio.h"

// ID3v2 wins over ID3v1 field by field. Fields that nothing fills keep what they hold, but for title: an
// ID3v2 title that is marked as UTF-16 and is none leaves it empty. A null argument changes nothing (logged).
void Mp3TagMerge(MediaInfoRecord *record, const MpegAudioInfo *info, const Id3v1Tag *id3v1,
                 const Id3v2Tag *id3v2);
