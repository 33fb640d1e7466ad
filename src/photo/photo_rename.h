// Renamed photos and folders keep their rows; renamed videos keep their notes.
#pragma once

// Moves photo rows to a new path; `is_folder` is 1 when the new path is a folder. 0 or -1.
int PhotoIndexRename(const char *new_path, const char *old_path, int is_folder);

// Moves the notes of videos: table 1 descriptions, 2 comments. 0; -1 also when there was nothing to move.
int PhotoIndexRenameVideoNotes(int table, const char *new_path, const char *old_path);
