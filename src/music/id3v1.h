// The 128-byte ID3v1 tag at the end of a music file, ID3v1.1 included.
#pragma once

#include <stdint.h>

#include "music/mp3_reader.h"

// The tag less its "TAG", byte for byte as in the file: texts are not terminated.
struct Id3v1Tag {
    char title[30];
    char artist[30];
    char album[30];
    char year[4];
    char comment[30];  // ID3v1.1: byte 28 is 0 and byte 29 is the track
    uint8_t genre;
};

static_assert(sizeof(Id3v1Tag) == 125);

// 1: read, and the reader's size is 128 less; 0: the file does not end in a tag; -1: seek or read failure
// (logged). Fields that are empty or all blanks start with a 0 byte then; other blanks stay.
int Id3v1Read(Mp3FileReader *reader, Id3v1Tag *tag);
