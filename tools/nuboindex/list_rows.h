// The rows that a list shows, chosen and put in order here: engines differ in what they take for the same letter.
#pragma once

#include <string>
#include <vector>

#include "media_rows.h"

struct ListSelect {
    std::string artist;  // contained in the artist, whatever its case; empty: any
    std::string album;   // the same for the album
    std::string
        since;         // "YYYY-MM-DD HH:MM:SS", local time: the file came or changed then or later; empty: ever
    std::string sort;  // one of LIST_SORTS; empty: by path
    bool reverse = false;
};

// The words for ListSelect::sort.
extern const std::vector<std::string> LIST_SORTS;

// A time as people write it, as ListSelect::since: "2026-11-20", "2026-11-20 18:30", with seconds, "today",
// "yesterday", or a time ago ("90m", "12h", "3d", "2w"). Empty for anything else.
std::string ListSince(const std::string &given, time_t now);

// Visits the rows of a kind. False: the database cannot be read.
bool ListRowsVisit(int kind, const ListSelect &select, const MediaRowVisit &visit);
