// A file's times beside those of its row. The databases hold local time as text, to the second.
#pragma once

#include <sys/stat.h>

#include <string>

#include "sync/index_rows.h"

// Has the file still the size and times that stand in its row of the media database, or of the gallery?
bool MediaRowMatches(const IndexRow &row, const std::string &path, const struct statx &status);
bool GalleryRowMatches(const IndexRow &row, const struct statx &status);

// A time as the media database writes it; empty for a year of more than four digits or before the
// first.
std::string RowTimeText(time_t when);

// While it lives, local time is that of the running daemon, where its environment can be seen: a user's own TZ would
// make every file look changed.
struct DaemonTimeZone {
    DaemonTimeZone();
    ~DaemonTimeZone();

  private:
    std::string before;
    bool is_changed = false;
    bool was_set = false;
};
