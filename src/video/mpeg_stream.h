// Bytes and start codes of an MPEG video stream.
#pragma once

#include "music/mp3_reader.h"

enum MpegStreamKind { MPEG_STREAM_1 = 1, MPEG_STREAM_2 = 2 };

enum MpegStartCode {
    MPEG_SEQUENCE_HEADER = 0xB3,
    MPEG_EXTENSION = 0xB5,
    MPEG_PICTURE_GROUP = 0xB8,
    MPEG_FIRST_SOUND_STREAM = 0xC0,
};

struct MpegStreamReader {
    Mp3FileReader file;  // the audio headers inside the stream are read through it
    int32_t kind;        // MPEG_STREAM_1 until a sequence extension is met
};

// The byte at an offset, or 17, logged, when there is none; no caller tells that from a real byte 17.
int MpegReadByte(MpegStreamReader *reader, int64_t offset);

// The first bytes 00 00 01 from `start` on, or -1. Only the first 100000 bytes of a file are ever searched.
int64_t MpegFindPrefix(MpegStreamReader *reader, int64_t start);

// The first bytes 00 00 01 `code`, within the same bounds, or -1.
int64_t MpegFindStartCode(MpegStreamReader *reader, int64_t start, int code);
