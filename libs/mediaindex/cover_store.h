// Where covers are kept: <state_dir>/covers/XX/Y.../, XX being the first two and Y... the next thirty
// hexadecimal digits of the SHA-256 of the media file's path, and in it one file per picture, named by
// picture type and number: 03-1.jpg, 00-2.png. So a path of any length and any bytes has a short folder of its
// own, and no folder grows large. The folder is there while there are covers in it.
#pragma once

#include <string>

// The cover folder of a media file, whether it exists or not.
std::string CoverFolderPath(const char *media_path);

// Removes the covers of a media file that is forgotten; makes nothing. 0, also when there were none; -1 when
// one could not be removed.
int CoversForget(const char *media_path);
