// AIFF and AIFF-C files.
#pragma once

int AiffIndexAdd(const char *path);     // 0 stored, 1 stored with defaults only, -1 nothing stored
int AiffIndexDelete(const char *path);  // 0 removed, -1 not removed
