// Opening files that anybody may have put into a share. A pipe or a device under a media file's name would block the
// daemon for good; only regular files are opened.
#pragma once

#include <stdint.h>
#include <stdio.h>

#include "common/log.h"

// True when the path leads to a regular file, through links too; else errno is set, as below.
bool IsRegularFile(const char *path);

// Opens a regular file for reading, without ever blocking on anything else. Null with errno set on failure; EINVAL
// for what is no regular file.
FILE *RegularFileOpen(const char *path);

// The size of an opened file, found by going to its end, in bytes. -1 with its message.
int64_t RegularFileSize(LogSite at, FILE *file, const char *path);
