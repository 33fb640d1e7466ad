// EXIF blocks, entry by entry, in either byte order.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

struct ExifField {
    uint16_t tag;
    uint16_t type;  // 2 text, 3 short, 4 long, 5 rational
    uint32_t count;
    std::string value;  // raw bytes in the block's order
};

// Writes numbers in one byte order and puts blocks together.
struct ExifWriter {
    bool big_endian = false;

    std::string Number(uint64_t value, int bytes) const;
    ExifField Text(uint16_t tag, const std::string &text) const;  // with its terminator
    ExifField Short(uint16_t tag, uint16_t value) const;
    ExifField Long(uint16_t tag, uint32_t value) const;
    ExifField Rational(uint16_t tag, uint32_t over, uint32_t under) const;

    // A block of up to five directories: 0 main, 1 thumbnail, 2 EXIF, 3 GPS, 4 interoperability.
    std::string Block(const std::vector<ExifField> (&directories)[5]) const;
};

// A JPEG file that holds nothing but a block.
std::string JpegWithExif(const std::string &block);
