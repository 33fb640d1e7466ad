// The tables of the media database.
#pragma once

#include <stddef.h>

struct MediaTable {
    const char *name;
    int kind;         // -1: no media kind
    bool has_covers;  // its rows own cover files
    int *dirty;       // set to 1 when a row changes; null: nobody asks
};

// All tables, the folders' included.
extern const MediaTable MEDIA_TABLES[];
extern const size_t MEDIA_TABLE_COUNT;

// Null for a number or name that is none.
const MediaTable *MediaTableOfKind(int kind);
const MediaTable *MediaTableNamed(const char *name);
