// A file in memory, opened for the reader, and the frames and tags that tests put into it.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

#include "music/mp3_reader.h"

// Opens `content` as a file of its own. CloseReader releases it.
Mp3FileReader OpenBytes(std::string_view content);
void CloseReader(Mp3FileReader *reader);

// The file loses its end while it is open; the reader is not told.
void CutFile(Mp3FileReader *reader, size_t size);

// Four header bytes and zeros up to the frame's length. By default MPEG-1 layer III, 128 kbit/s, 44100 Hz,
// joint stereo: 417 bytes.
std::string Frame(std::string_view header = {"\xFF\xFB\x90\x40", 4}, size_t length = 417);
std::string Frames(int count);

// Big-endian and seven-bit integers.
std::string U32(uint32_t value);
std::string Syncsafe(uint32_t value);
