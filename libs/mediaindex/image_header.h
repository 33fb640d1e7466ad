// Readers of picture headers, one for each library. Each reads from the start of an open file, and gives 0, or
// -1 for a header that the library refuses.
#pragma once

struct PixelSize {
    unsigned long width;
    unsigned long height;
};

static constexpr unsigned long PIXELS_LIMIT = 0x7FFFFFFF;  // the records hold signed integers

int JpegSizeRead(int fd, const char *format, PixelSize *size);
int PngSizeRead(int fd, const char *format, PixelSize *size);

// All others, through GraphicsMagick; `format` is its name of the format.
int GeneralSizeRead(int fd, const char *format, PixelSize *size);
