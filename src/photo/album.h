// Album rows: every folder of the photo share, down to the second level, is an album of the photo gallery.
#pragma once

#include <stddef.h>

// Paths of the photo share have the fixed form /volumeN/photo/NAME, so an album's name is its path without the
// first 15 characters, whatever they are.
static constexpr size_t SHARE_ROOT_LENGTH = 14;
static constexpr size_t ALBUM_NAME_OFFSET = SHARE_ROOT_LENGTH + 1;

// The text behind the first 15 characters; empty for a shorter path.
const char *AlbumNameOf(const char *path);

// 0 for a top-level album, 1 for a sub-album, 2 for what lies deeper and is no album. A missing path is reported
// and counts as 2.
int AlbumDepth(const char *path);

// Adds (mode 1) or deletes (2) the album of a folder; a deleted one goes with its sub-albums, the share itself with
// all albums. 0 on success and for folders that are no albums, -1 otherwise.
int PhotoShareUpdate(const char *path, int mode);

// The id for a new album: the largest one and 1, or 1.
int PhotoShareNextId(void);
