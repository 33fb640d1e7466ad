// Renamed and moved album folders keep their rows, covers and rights.
#pragma once

// 0 when album rows were moved, -1 otherwise.
int PhotoShareRename(const char *new_path, const char *old_path);
