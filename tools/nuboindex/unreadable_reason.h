// Why a file's contents could not be read, as far as the file itself tells.
#pragma once

#include <time.h>

#include <string>

// In words, behind "the file": "is empty", "looks like HTML document, ASCII text". `failed` is when the daemon gave up
// on it. Reads the file's beginning, and never blocks on a pipe or device.
std::string UnreadableReason(const std::string &path, time_t failed);
