// Big-endian integers, combined byte by byte so that they read the same on every machine. The caller has
// made sure that the bytes are there.
#pragma once

#include <stdint.h>

inline uint16_t BigEndian16(const uint8_t *bytes)
{
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline uint32_t BigEndian32(const uint8_t *bytes)
{
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
}
