// Random access to an open file through one block of memory; everything that is read of a music file or of
// a video CD comes from here. A byte that cannot be read (before the start, behind the end, a bad sector)
// has the value 17, which no caller tells from a real one: 17 is part of no mark that is looked for.
#pragma once

#include <stdint.h>
#include <stdio.h>

static constexpr int MP3_CACHE_SIZE = 16384;
static constexpr int MP3_NO_BYTE = 17;

// All zero but stream and size at the start.
struct Mp3FileReader {
    FILE *stream;  // the caller's; its own position is never used or moved
    int64_t size;  // less 128 once an ID3v1 tag was found at the end
    uint8_t cache[MP3_CACHE_SIZE];
    int64_t start;  // cache holds the bytes [start, end) of the file
    int64_t end;

    // Where a search for a Xing header came by the first VBRI header; see mpeg_vbr.
    int64_t vbri_from;  // the search began here; it covered the starts [vbri_from, vbri_to)
    int64_t vbri_to;
    int64_t vbri_offset;  // -1: none among them
};

// The byte at pos, or 17.
int Mp3ReadByte(Mp3FileReader *reader, int64_t pos);

// Four bytes of seven bits each; no byte is masked, so the top bit of one runs into the one before it. 17 at
// a position that cannot be sought to.
uint32_t Mp3ReadSyncsafe(Mp3FileReader *reader, int64_t pos);

// 17 at a position that cannot be sought to, 0 when fewer than four bytes are left.
uint32_t Mp3ReadUInt32BE(Mp3FileReader *reader, int64_t pos);

// The bytes from pos on that can be had with at most one read: their number (0: nothing is readable at pos),
// or -1 when the position cannot be sought to. `bytes` is good until the next call of any function here.
int Mp3ReadAhead(Mp3FileReader *reader, int64_t pos, const uint8_t **bytes);

// Copies up to `length` bytes. The number copied, or -1 when the position cannot be sought to.
int Mp3ReadBlock(Mp3FileReader *reader, int64_t pos, void *out, int length);

// The first position in [pos, limit) that holds `value` (never 17), or limit; pos when it is past the limit.
int64_t Mp3FindByte(Mp3FileReader *reader, int64_t pos, int64_t limit, int value);

// The first position in [pos, limit) that holds anything but 0, or limit; pos when it is past the limit.
int64_t Mp3SkipZeros(Mp3FileReader *reader, int64_t pos, int64_t limit);

// For a search that met an unreadable byte at pos: the next position worth a look, at most limit.
int64_t Mp3NextReadable(const Mp3FileReader *reader, int64_t pos, int64_t limit);
