// The rows of a query, read whole: a statement never stays open between two calls of the daemon, so nothing
// holds a lock while a file is read or a program runs.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "nubodb/exported.h"

struct NuboDbResult {
    std::vector<std::string> columns;
    std::string texts;           // all fields, each with its NUL
    std::vector<size_t> fields;  // row by row: where in `texts` the field begins, or DB_NULL_FIELD
    int rows = 0;
    int next = 0;  // the row that NUBODBFetchRow gives next
};

static constexpr size_t DB_NULL_FIELD = SIZE_MAX;

void DbResultAdd(NuboDbResult *result, const char *text, size_t length);
void DbResultAddNull(NuboDbResult *result);
