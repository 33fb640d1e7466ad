// Reading the media database through the libraries' public interface.
#pragma once

#include <functional>
#include <string>

#include "platform/db_access.h"

// The message for a query that failed; the libraries report the reason to the system log.
static constexpr char MEDIA_DATABASE_UNREADABLE[] =
    "the media database cannot be read; the system log says why";

static constexpr char PHOTO_DATABASE_UNREADABLE[] =
    "the photo database cannot be read; the system log says why";

struct MediaKindName {
    const char *name;
    int kind;
};

// music, video, photo, playlist, directory.
extern const MediaKindName MEDIA_KINDS[5];

// A row while it is visited: the text of a column, empty when it has none.
using MediaRow = std::function<std::string(const char *column)>;
using MediaRowVisit = std::function<void(const MediaRow &row)>;

// Visits the rows of a kind in the order of their paths. `condition` may be empty. False: the database cannot be
// read.
bool MediaRowsVisit(int kind, const std::string &condition, const MediaRowVisit &visit);

// Visits the rows of an open query, closes it, and says whether there was one.
bool RowsVisit(NuboDbHandle *query, const MediaRowVisit &visit);

// The condition for one path.
std::string PathCondition(const std::string &path);
