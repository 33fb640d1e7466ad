// Which handler a file goes to, by its extension alone.
#pragma once

struct IndexHandler {
    const char *ext;               // lower case, without the dot; null in the row that ends the table
    int (*add)(const char *path);  // 0 stored, 1 stored with defaults only, -1 nothing stored
    int (*del)(const char *path);  // 0 removed, -1 not removed
};

// Searched in order; 68 rows and the null row.
extern const IndexHandler IndexHandlerTable[69];

// The first row whose extension equals `ext` ignoring case; null when none does or `ext` is null.
const IndexHandler *IndexHandlerFind(const char *ext);
