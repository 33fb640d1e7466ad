#include "pictures.h"

#include <stdint.h>

static std::string Little(uint64_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; i++)
        text += static_cast<char>(value >> 8 * i & 0xFF);
    return text;
}

std::string BmpPicture(int width, int height)
{
    auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
    uint32_t row_size = (columns * 3 + 3) / 4 * 4;
    std::string pixels(row_size * rows, '\x60');
    return "BM" + Little(54 + row_size * rows, 4) + Little(0, 4) + Little(54, 4) + Little(40, 4) +
           Little(columns, 4) + Little(rows, 4) + Little(1, 2) + Little(24, 2) + Little(0, 4) +
           Little(row_size * rows, 4) + Little(2835, 4) + Little(2835, 4) + Little(0, 8) + pixels;
}

std::string WithOrientation(const std::string &jpeg, char orientation)
{
    std::string exif = std::string("Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 24) + orientation +
                       std::string("\0\0\0\0\0\0\0", 7);
    std::string length = {'\0', static_cast<char>(exif.size() + 2)};
    return jpeg.substr(0, 2) + "\xff\xe1" + length + exif + jpeg.substr(2);
}
