// MP4 music files (m4a, m4p, m4b).
#pragma once

int Mp4IndexAdd(const char *path);     // 0 stored, 1 stored with defaults only, -1 nothing stored
int Mp4IndexDelete(const char *path);  // 0 removed, -1 not removed
