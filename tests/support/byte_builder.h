// Pieces of binary files, to be joined with "+".
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

// The lowest `count` bytes of a number, the highest first.
inline std::string BigBytes(uint64_t value, int count)
{
    std::string bytes;
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    return bytes;
}

// The same, the lowest first.
inline std::string LittleBytes(uint64_t value, int count)
{
    std::string bytes;
    for (int shift = 0; shift < 8 * count; shift += 8)
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    return bytes;
}

// "FF fb 90": text in hexadecimal, blanks ignored.
inline std::string HexBytes(std::string_view text)
{
    std::string bytes;
    int digits = 0;
    int value = 0;
    for (char c : text) {
        if (c == ' ')
            continue;
        value = value * 16 + (c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
        if (++digits % 2 == 0) {
            bytes.push_back(static_cast<char>(value));
            value = 0;
        }
    }
    return bytes;
}

inline std::string ZeroBytes(size_t count)
{
    return std::string(count, '\0');
}
