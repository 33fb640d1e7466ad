// Times and sizes for people.
#pragma once

#include <stdint.h>

#include <string>

std::string ClockText(double seconds);  // "0:07", "1:02:03"; not negative
std::string SizeText(uint64_t bytes);   // "512 bytes", "4.8 MiB"
