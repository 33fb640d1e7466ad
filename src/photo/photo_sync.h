// The comparison of the photo share with the photo database.
#pragma once

#include <glob.h>

// Adds what is new in a folder and below it and marks what is seen again. For the whole share (null) every mark is
// cleared first, and rows without one are deleted at the end. The working directory changes meanwhile. A folder
// that cannot be entered is left out; when that is the share itself, nothing is deleted.
// 0 or -1.
int PhotoIndexSyncDir(const char *dir);

// The same for the files of one folder: `names` are what stands in it, relative to `dir`. 0; -1 when it could not
// be compared.
int PhotoIndexSyncFiles(const char *dir, const glob_t *names);
