// What a path says about a file before anything is read: its title and its album.
#pragma once

#include <stddef.h>

// The text after the last "/", or the whole path when there is none.
const char *FileNameOf(const char *path);

// The file name, cut at size - 1 and then at its last "." if one is left.
void TitleFromPath(const char *path, char *title, size_t size);

// The name of the folder that holds the file; `album` is left alone when the path has fewer than two "/".
// False when the name did not fit whole: the cut copy is kept, and the caller reports it in its own form.
[[nodiscard]] bool AlbumFromPath(const char *path, char *album, size_t size);
