// PNG headers through libpng. Only the signature and the first chunk are handed to it, so texts and profiles,
// which may be compressed, are never looked at.
#include <png.h>
#include <setjmp.h>
#include <unistd.h>

#include "mediaindex/image_header.h"

// Signature, then length, name, 13 bytes and checksum of the IHDR chunk.
static constexpr size_t PNG_HEAD_SIZE = 8 + 4 + 4 + 13 + 4;

[[noreturn]] static void OnError(png_structp png, png_const_charp)
{
    png_longjmp(png, 1);
}

static void OnWarning(png_structp, png_const_charp)
{
}

static int HeaderRead(png_structp png, png_infop info, png_bytep head, PixelSize *size)
{
    if (setjmp(png_jmpbuf(png)))
        return -1;
    png_set_user_limits(png, PIXELS_LIMIT, PIXELS_LIMIT);
    png_set_progressive_read_fn(png, nullptr, nullptr, nullptr, nullptr);
    png_process_data(png, info, head, PNG_HEAD_SIZE);
    size->width = png_get_image_width(png, info);
    size->height = png_get_image_height(png, info);
    return 0;
}

int PngSizeRead(int fd, const char *, PixelSize *size)
{
    png_byte head[PNG_HEAD_SIZE];
    if (pread(fd, head, sizeof head, 0) != static_cast<ssize_t>(sizeof head))
        return -1;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    if (!png)
        return -1;
    png_infop info = png_create_info_struct(png);
    int result = info ? HeaderRead(png, info, head, size) : -1;
    png_destroy_read_struct(&png, &info, nullptr);
    return result;
}
