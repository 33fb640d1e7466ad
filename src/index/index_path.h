// Folders, subtrees and whole shares.
#pragma once

// Adds (mode 1) or refreshes (5) a file or a tree, removes everything below a path (2, by prefix, without
// looking at the disk), or rebuilds shares (3; only then may `path` be null). `type`: index_modes.h.
// 0: done; -1: bad arguments, or a folder that cannot be opened.
int IndexPathUpdate(const char *path, int mode, int type);

// Forgets a share and indexes it again, in the media database only. `link` is the share's symbolic link.
void ShareReindex(const char *link);
