// FLAC files. Their rows are removed by MediaAudioDelete.
#pragma once

int FlacIndexAdd(const char *path);  // 0 stored, 1 stored with defaults only, -1 nothing stored
