// Hours have no end, sizes end with the largest unit.
#include "quantity_text.h"

#include <math.h>
#include <stdio.h>

#include <algorithm>
#include <iterator>

std::string ClockText(double seconds)
{
    static constexpr double LONGEST = 1e15;
    long whole = lround(std::clamp(seconds, 0.0, LONGEST));
    char text[64];
    if (whole >= 3600)
        snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

std::string SizeText(uint64_t bytes)
{
    static constexpr const char *UNITS[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024)
        return std::to_string(bytes) + " bytes";
    double size = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    for (; size >= 1024 && unit + 1 < std::size(UNITS); unit++)
        size /= 1024;
    char text[64];
    snprintf(text, sizeof text, "%.1f %s", size, UNITS[unit]);
    return text;
}
