// The comparison of the whole photo share with the photo database.
#pragma once

// Adds what is new below a folder, marks what is seen again, and, for the whole share (null), sweeps what
// was not seen. 0 or -1.
int PhotoIndexSyncDir(const char *dir);
