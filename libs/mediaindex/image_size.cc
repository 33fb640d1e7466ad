// The pixel size of a picture, from its header. The first bytes tell the format, never the name. Pictures are
// foreign files, so none is decoded, what is read of one is bounded, and the libraries print nothing.
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/byte_order.h"
#include "mediaindex/exported.h"
#include "mediaindex/image_header.h"

// GraphicsMagick as distributions build it leaves Photoshop files out; their size stands at a fixed place.
static int PsdSizeRead(int fd, const char *, PixelSize *size)
{
    uint8_t sides[8];
    if (pread(fd, sides, sizeof sides, 14) != static_cast<ssize_t>(sizeof sides))
        return -1;
    size->height = BigEndian32(sides);
    size->width = BigEndian32(sides + 4);
    return 0;
}

static constexpr struct {
    const char *magic;
    size_t length;
    int (*read)(int fd, const char *format, PixelSize *size);
    const char *format;
} FORMATS[] = {
    {"\xFF\xD8", 2, JpegSizeRead, "JPEG"}, {"\x89PNG\r\n\x1A\n", 8, PngSizeRead, "PNG"},
    {"GIF8", 4, GeneralSizeRead, "GIF"},   {"BM", 2, GeneralSizeRead, "BMP"},
    {"8BPS", 4, PsdSizeRead, "PSD"},       {"II*\0", 4, GeneralSizeRead, "TIFF"},
    {"MM\0*", 4, GeneralSizeRead, "TIFF"}, {"II+\0", 4, GeneralSizeRead, "TIFF"},  // with 64-bit offsets
    {"MM\0+", 4, GeneralSizeRead, "TIFF"}, {"\0\0\1\0", 4, GeneralSizeRead, "ICO"},
};

// -1 when there is no regular file. Looked at before the open too: merely opening a device may start something.
static int PictureOpen(const char *path)
{
    struct stat status;
    if (stat(path, &status) < 0 || !S_ISREG(status.st_mode))
        return -1;
    int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd >= 0 && (fstat(fd, &status) < 0 || !S_ISREG(status.st_mode))) {
        close(fd);
        return -1;
    }
    return fd;
}

static int SizeRead(int fd, PixelSize *size)
{
    char head[8] = {};
    ssize_t length = pread(fd, head, sizeof head, 0);
    for (const auto &format : FORMATS) {
        if (length >= static_cast<ssize_t>(format.length) && !memcmp(head, format.magic, format.length))
            return format.read(fd, format.format, size);
    }
    return -1;
}

int NUBOIndexImgResGet(const char *path, int *width, int *height)
{
    if (!path || !width || !height)
        return -1;
    int fd = PictureOpen(path);
    if (fd < 0)
        return -1;
    PixelSize size = {};
    int result = SizeRead(fd, &size);
    close(fd);
    if (result < 0 || size.width == 0 || size.height == 0 || size.width > PIXELS_LIMIT ||
        size.height > PIXELS_LIMIT)
        return -1;
    *width = static_cast<int>(size.width);
    *height = static_cast<int>(size.height);
    return 0;
}
