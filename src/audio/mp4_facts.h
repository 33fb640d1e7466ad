// What is read of an MP4 file when TagLib answers the library's calls.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "audio/mp4_library.h"
#include "audio/mp4_sample_entry.h"

enum Mp4Text {
    TEXT_NAME,
    TEXT_ALBUM,
    TEXT_ARTIST,
    TEXT_GENRE,
    TEXT_COMMENT,
    TEXT_WRITER,
    TEXT_YEAR,
    TEXT_COUNT
};

struct Mp4Track {
    uint32_t id;
    char type[5];
    uint32_t time_scale;
    uint64_t duration;
    Mp4SampleEntry entry;
};

struct Mp4Pair {
    uint16_t number;
    uint16_t total;
};

struct Mp4Cover {
    uint32_t type;
    std::string bytes;
};

struct MP4LibraryFile {
    std::vector<Mp4Track> tracks;
    std::optional<std::string> texts[TEXT_COUNT];
    std::optional<Mp4Pair> track;
    std::optional<Mp4Pair> disk;
    std::optional<Mp4Cover> cover;
};

// Null when the file cannot be opened or holds no movie header, and when memory runs out. The caller deletes it.
MP4LibraryFile *Mp4FactsRead(const char *path);
