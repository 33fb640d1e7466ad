// Album rows.
#pragma once

// Adds (mode 1) or deletes (2) the album of a folder. 0 on success and for folders that are no albums.
int PhotoShareUpdate(const char *path, int mode);
