// Renamed and moved album folders keep their rows, covers and rights.
#pragma once

// Moves the row of an album, its cover and, as far as its level allows, its sub-albums. A folder that had no row is
// added as a new album, which still answers -1. 0 when album rows were moved, -1 otherwise; nothing is rolled back.
int PhotoShareRename(const char *new_path, const char *old_path);

// Renames every sub-album of an album to lie under another name. 0, also when there is none; -1 after a failure.
int NUBOPhotoShareRenameSubDir(const char *new_name, const char *old_name);
