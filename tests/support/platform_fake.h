// A recording double of the appliance's four libraries, the same symbols as the real ones. Every call that has an
// effect is noted in order as one line of text; questions about files are answered from the disk and not noted.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "index/media_record.h"
#include "photo/photo_record.h"

// One row of a scripted query: column name to text.
using FakeRow = std::map<std::string, std::string>;

struct PlatformFake {
    // "MediaInfoDBSave 0 /volume1/music/a.mp3": the name and the arguments, null as "(null)".
    std::vector<std::string> calls;

    // The results of calls by name, instead of 0 (or of what success is called there).
    std::map<std::string, int> results;

    // Results of the next calls by name, one a call, before `results` counts.
    std::map<std::string, std::deque<int>> next_results;

    std::vector<MediaInfoRecord> saved;         // the records of MediaInfoDBSave
    std::vector<PhotoInfoRecord> saved_photos;  // the records of PhotoInfoDBSave

    // The answers of PhotoInfoDBOpen and MediaInfoDBOpen in the order of the calls; when used up, no rows. A
    // query answers null (failure) when `results` has its name with a negative value.
    std::deque<std::vector<FakeRow>> queries;

    std::map<std::string, std::string> settings;  // "file key" to value, for the key-value calls
    int open_handles = 0;                         // queries that were not closed
    int music_dirty = 0;
    int video_dirty = 0;
    int image_width = 0;  // NUBOIndexImgResGet fails while this is 0
    int image_height = 0;
};

extern PlatformFake platform;  // reset at the start of every test
