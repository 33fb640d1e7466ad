// Who may see an album. A new sub-album takes its parent's public flag and, when that is private, its rights.
#pragma once

// The text of a column of an album's row, cut at out_size - 1 bytes, empty for a null. 0; -1 when there is no such
// album.
int NUBOPhotoShareGetFieldValue(const char *sharename, const char *column, char *out, int out_size);

// Sets an album's public flag. 0 or -1.
int NUBOPhotoShareSubDirUpdatePublic(const char *sharename, const char *value);

// Copies the access rights of one album to another. 0, also when there are none; -1 after a failure, with the
// rights that were copied before it in place.
int NUBOPhotoShareSubDirPrivilegeAdd(const char *sub_sharename, const char *parent_sharename);

// Lets a sub-album inherit. 0 or -1.
int NUBOPhotoShareSubDirUpdatePrivilege(const char *sub_sharename);
