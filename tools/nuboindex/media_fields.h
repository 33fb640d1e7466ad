// The columns of a media row, with their names and units.
#pragma once

#include <string>

#include "json_text.h"
#include "media_rows.h"

// A column's value for people, unit included; empty when it is unknown (an empty text, a zero).
struct MediaField {
    const char *column;
    std::string (*text)(const std::string &value);
    bool is_number;
};

// All but the path and the database's own bookkeeping, in the order in which they are shown.
extern const MediaField MEDIA_FIELDS[25];

std::string DurationText(const std::string &seconds);  // "4:13", "1:02:03"
std::string ResolutionText(const MediaRow &row);       // "1920x1080"
std::string KilobitText(const std::string &bits);      // "192"

// The known fields of a row as one JSON object: kind, path, then the columns under their own names; numbers in
// seconds, bit/s, Hz, pixels and bytes.
Json RowJson(const char *kind, const MediaRow &row);
