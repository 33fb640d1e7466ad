// Headers of the rarer formats through GraphicsMagick, which is started when the first such picture comes. It is
// given a descriptor's name and a fixed format, so nothing in a path can name another file, a URL or a script.
#include <magick/api.h>
#include <stdio.h>

#include "mediaindex/image_header.h"

// A ping needs a few kilobytes; a decoder that starts all the same is stopped by these.
static void LimitsSet()
{
    (void)SetMagickResourceLimit(MemoryResource, 32 << 20);
    (void)SetMagickResourceLimit(MapResource, 0);
    (void)SetMagickResourceLimit(DiskResource, 0);
    (void)SetMagickResourceLimit(ThreadsResource, 1);
}

static bool LibraryStart()
{
    ExceptionInfo exception;
    GetExceptionInfo(&exception);
    bool started = InitializeMagickEx(nullptr, MAGICK_OPT_NO_SIGNAL_HANDER, &exception);
    DestroyExceptionInfo(&exception);
    (void)SetWarningHandler(nullptr);
    (void)SetErrorHandler(nullptr);
    LimitsSet();
    return started;
}

int GeneralSizeRead(int fd, const char *format, PixelSize *size)
{
    static const bool started = LibraryStart();
    if (!started)
        return -1;
    ImageInfo *info = CloneImageInfo(nullptr);
    snprintf(info->filename, sizeof info->filename, "%s:/proc/self/fd/%d", format, fd);
    info->subimage = 0;  // the first picture of the file
    info->subrange = 1;

    ExceptionInfo exception;
    GetExceptionInfo(&exception);
    Image *image = PingImage(info, &exception);
    if (image) {
        size->width = image->columns;
        size->height = image->rows;
        DestroyImageList(image);
    }
    DestroyExceptionInfo(&exception);
    DestroyImageInfo(info);
    return image ? 0 : -1;
}
