// Numbers from foreign text and from floating point. What does not fit is pinned to the nearest value that
// does: a plain conversion would be undefined.
#pragma once

#include <limits.h>
#include <stdint.h>
#include <stdlib.h>

// Truncated towards zero; negative values and "not a number" give 0.
inline uint32_t TruncateU32(double value)
{
    if (!(value > 0.0))
        return 0;
    return value < 4294967295.0 ? static_cast<uint32_t>(value) : UINT32_MAX;
}

inline int32_t ClampI32(long value)
{
    if (value < INT32_MIN)
        return INT32_MIN;
    return value < INT32_MAX ? static_cast<int32_t>(value) : INT32_MAX;
}

// The number that a text begins with, as atoi reads it: "3/12" gives 3, no number gives 0.
inline int32_t LeadingNumber(const char *text)
{
    return ClampI32(strtol(text, nullptr, 10));
}

// The number that a text is; 0 when anything follows it, so "2004-05-01" gives 0.
inline int32_t WholeNumber(const char *text)
{
    char *end = nullptr;
    long value = strtol(text, &end, 10);
    return *end ? 0 : ClampI32(value);
}
