// Tests on paths that every subsystem uses. Both look at the text alone, not at the disk.
#pragma once

// The photo share or something below it: "/", "photo" in any case and "/" or the end, from index 8 on.
// Only the position counts, so /volume1/photo qualifies and /volume12/photo does not. Null is false.
bool IsPhotoSharePath(const char *path);

// "#recycle" as the third component, or something below it. Null is false.
bool IsRecycleBinPath(const char *path);

// The target of a share's link, in a zero-filled buffer of 4096 bytes. 0, or -1 with errno set.
int ShareLinkRead(const char *link, char (&target)[4096]);
