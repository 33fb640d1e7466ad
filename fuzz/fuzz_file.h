// What fuzz targets share: the input as an open file, and promises that end the run when they are broken.
#pragma once

#include <stdio.h>

#include <string_view>

// A file in memory that holds `content` until the next call; never closed.
FILE *FuzzFile(std::string_view content);

// A path that leads to the same file.
const char *FuzzPath(std::string_view content);

// Files that the run writes (covers) end at this size.
void FuzzLimitFileSize(unsigned long bytes);

#define FUZZ_EXPECT(condition)                                                                                 \
    do {                                                                                                       \
        if (!(condition)) {                                                                                    \
            fprintf(stderr, "%s:%d: broken: %s\n", __FILE__, __LINE__, #condition);                            \
            __builtin_trap();                                                                                  \
        }                                                                                                      \
    } while (0)
