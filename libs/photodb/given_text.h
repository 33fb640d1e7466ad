// Texts that people gave a photo. The file that holds one goes when it is read, and then its row is all that knows it.
#pragma once

#include <string>

// The row was not stored: puts the text back where it was read, unless it is the one that every photo has, or the
// photo has no such files, or a newer one is there.
void GivenTextRestore(const std::string &path, const char *key, const std::string &text,
                      const std::string &usual);
