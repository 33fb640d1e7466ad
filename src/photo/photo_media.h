// Photo rows of the media database.
#pragma once

int PhotoMediaAdd(const char *path);     // 0 stored, or skipped on purpose; -1 nothing stored
int PhotoMediaDelete(const char *path);  // 0 when the file is gone, -1 when it still exists
