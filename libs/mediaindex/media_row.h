// A record as the values of its row.
#pragma once

#include <vector>

#include "index/media_record.h"
#include "nubodb/database.h"

// The columns of the media tables in the order of MediaRowValues, parted by commas.
extern const char MEDIA_ROW_COLUMNS[];

// The values point into the record.
std::vector<DbValue> MediaRowValues(const MediaInfoRecord &record);

// Both forms of a time, "YYYY-MM-DD HH:MM:SS" and the text of ctime, become the first one, in place; any other
// text stays.
void MediaTimeNormalise(char *text, size_t size);
