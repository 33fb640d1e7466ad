// The MPEG files of video CDs (dat).
#pragma once

int VideoIndexAdd(const char *path);     // 0 stored, 1 stored with defaults only, -1 nothing stored
int VideoIndexDelete(const char *path);  // 0 removed, -1 not removed
