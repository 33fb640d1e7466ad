// Text files of one entry a line, added to by several processes.
#pragma once

#include <stdio.h>
#include <sys/types.h>

#include <string>
#include <vector>

// Opens it for adding; it is made where there is none, with exactly this mode: the daemon's umask is 0. The descriptor;
// -1 with errno.
int LineFileOpen(const char *path, mode_t mode);

// Adds `lines`, all of them or, as far as that can be had, nothing; behind a torn last line a new one begins. `path` is
// for the message. 0; -1 with errno.
int LineFileAppend(int file, const char *path, const std::string &lines);

// The whole lines without their ends, empty ones left out. None where there is no such file.
std::vector<std::string> LineFileRead(const std::string &path);
std::vector<std::string> LineFileRest(FILE *file);
