// Renamed photos and folders keep their rows; renamed videos keep their notes.
#pragma once

// Moves photo rows from an old path to a new one; `is_folder` is 1 when the new path is a folder, whose rows are
// those below the old path. An old path without rows means that the new path is added instead.
// 0; -1 after a failure, and also when a photo was renamed to a name that is none: its row is removed then.
int PhotoIndexRename(const char *new_path, const char *old_path, int is_folder);

// Moves the notes of videos from an old path or prefix to a new one: table 1 descriptions, 2 comments.
// 0; -1 after a failure, and also when there was nothing to move.
int PhotoIndexRenameVideoNotes(int table, const char *new_path, const char *old_path);
