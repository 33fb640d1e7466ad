// The ID3v2 tag at the start of a music file, versions 2.2, 2.3 and 2.4. Texts stay in the encoding in which
// the tag holds them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "music/mp3_reader.h"

static constexpr size_t ID3V2_TEXT = 1024;
static constexpr size_t ID3V2_GENRE = 128;

// Zeroed by the caller. Texts end in a 0 byte, UTF-16 ones in two, and begin with their byte-order mark then.
// A flag is only ever set: a later frame of single-byte text leaves it, and its field counts as UTF-16.
struct Id3v2Tag {
    char title[ID3V2_TEXT];
    char artist[ID3V2_TEXT];
    char album[ID3V2_TEXT];
    char year[8];
    char genre[ID3V2_GENRE + 2];  // two 0 bytes stay behind single-byte text that is taken for UTF-16
    char track[8];                // without the "/" and what follows; so the next
    char disc[8];
    char composer[ID3V2_TEXT];
    char comment[ID3V2_TEXT];
    uint32_t title_utf16;
    uint32_t artist_utf16;
    uint32_t album_utf16;
    uint32_t year_utf16;
    uint32_t genre_utf16;
    uint32_t composer_utf16;
    uint32_t comment_utf16;
    uint32_t cover_count;  // pictures saved, 0 or 1
};

// The size of the whole tag, header included, and its major version; 0 when the file does not begin with a
// tag. Header flags are not looked at.
int64_t Id3v2Size(Mp3FileReader *reader, int *major_version);

// Reads the frames of version 3 and later; those after 3 have seven-bit sizes. `path` names the file for its
// cover. A broken tag is not reported: the walk ends at the first frame that makes no sense, and what was read
// until then stays.
void Id3v2Read(Id3v2Tag *tag, Mp3FileReader *reader, int major_version, const char *path);

// The same for version 2 with its three-letter frames. Frames of 256 bytes or more are mis-sized.
void Id3v22Read(Id3v2Tag *tag, Mp3FileReader *reader, int major_version, const char *path);

// Copies UTF-16 text, mark included, up to its pair of 0 bytes or the end of dst, which is zeroed first.
// Text without a byte-order mark leaves dst empty.
void Id3Utf16Copy(const char *src, char *dst, size_t dst_size);
