// MP3 files.
#pragma once

int MusicIndexAdd(const char *path);     // 0 stored, 1 stored with defaults only, -1 nothing stored
int MusicIndexDelete(const char *path);  // 0 removed, -1 not removed
