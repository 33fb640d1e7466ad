// One file, or one folder's own row.
#pragma once

// Adds or removes one file by the handler of its extension. In add mode a folder gets its own row; in
// delete mode a folder is left alone (subtrees are removed by IndexPathUpdate).
// 0: done, or a type that is not indexed; -1: bad arguments, no extension, or the handler failed. A handler's
// 1 (stored with defaults only) is reported to the user's event log and becomes -1.
int IndexFileUpdate(const char *path, int mode);
