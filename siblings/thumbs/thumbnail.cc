// Pictures through GraphicsMagick, from memory and with a fixed format, so that nothing in a file or its name can make
// the library open another file, a URL or a script.
#include "thumbs/thumbnail.h"

#include <magick/api.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>

static constexpr unsigned long SIDE_MAX = 320;  // pixels
static constexpr char SIZE_HINT[] = "640x640";  // JPEG files are read at a fraction that is larger than this
static constexpr unsigned long QUALITY = 85;

static constexpr struct {
    const char *format;
    size_t length;
    const char *start;
} FORMATS[] = {
    {"JPEG", 3, "\xff\xd8\xff"}, {"PNG", 8, "\x89PNG\r\n\x1a\n"},
    {"GIF", 4, "GIF8"},          {"BMP", 2, "BM"},
    {"ICO", 4, "\0\0\1\0"},      {"PSD", 4, "8BPS"},
    {"TIFF", 4, "II*\0"},        {"TIFF", 4, "MM\0*"},
};

static const char *FormatOf(const void *photo, size_t size)
{
    for (const auto &format : FORMATS) {
        if (size > format.length && memcmp(photo, format.start, format.length) == 0)
            return format.format;
    }
    return nullptr;
}

bool ThumbnailLibraryStart()
{
    ExceptionInfo exception;
    GetExceptionInfo(&exception);
    bool started = InitializeMagickEx(nullptr, MAGICK_OPT_NO_SIGNAL_HANDER, &exception);
    DestroyExceptionInfo(&exception);
    (void)SetWarningHandler(nullptr);
    (void)SetErrorHandler(nullptr);
    (void)SetMagickResourceLimit(MemoryResource, 512 << 20);
    (void)SetMagickResourceLimit(MapResource, 0);
    (void)SetMagickResourceLimit(DiskResource, 0);
    (void)SetMagickResourceLimit(PixelsResource, 100'000'000);
    (void)SetMagickResourceLimit(WidthResource, 30'000);
    (void)SetMagickResourceLimit(HeightResource, 30'000);
    (void)SetMagickResourceLimit(ThreadsResource, 1);
    return started;
}

// One step of a picture: the old one goes, a missing new one stays missing.
static Image *Step(Image *before, Image *after)
{
    if (before)
        DestroyImageList(before);
    return after;
}

static Image *Upright(Image *image, ExceptionInfo *exception)
{
    if (image->orientation <= TopLeftOrientation)
        return image;
    return Step(image, AutoOrientImage(image, image->orientation, exception));
}

static Image *OnWhite(Image *image, ExceptionInfo *exception)
{
    if (!image->matte)
        return image;
    (void)QueryColorDatabase("white", &image->background_color, exception);
    return Step(image, FlattenImages(image, exception));
}

static unsigned long Scaled(unsigned long side, unsigned long longest)
{
    return std::max(1ul, (side * SIDE_MAX + longest / 2) / longest);
}

static Image *Small(Image *image, ExceptionInfo *exception)
{
    unsigned long longest = std::max(image->columns, image->rows);
    if (longest <= SIDE_MAX)
        return image;
    return Step(
        image, ThumbnailImage(image, Scaled(image->columns, longest), Scaled(image->rows, longest), exception));
}

static Image *Prepared(Image *image, ExceptionInfo *exception)
{
    (void)TransformColorspace(image, RGBColorspace);
    image = Small(image, exception);
    if (image)
        image = OnWhite(image, exception);
    if (image)
        image = Upright(image, exception);
    if (image)
        (void)ProfileImage(image, "*", nullptr, 0, MagickFalse);
    return image;
}

static bool JpegWrite(ImageInfo *info, Image *image, std::vector<unsigned char> &jpeg, ExceptionInfo *exception)
{
    snprintf(image->filename, sizeof image->filename, "JPEG:");
    snprintf(image->magick, sizeof image->magick, "JPEG");
    info->quality = QUALITY;
    size_t length = 0;
    void *blob = ImageToBlob(info, image, &length, exception);
    if (blob) {
        auto bytes = static_cast<const unsigned char *>(blob);
        jpeg.assign(bytes, bytes + length);
        MagickFree(blob);
    }
    return !jpeg.empty();
}

bool ThumbnailMake(const void *photo, size_t size, std::vector<unsigned char> &jpeg)
{
    jpeg.clear();
    const char *format = FormatOf(photo, size);
    if (!format)
        return false;
    ImageInfo *info = CloneImageInfo(nullptr);
    snprintf(info->filename, sizeof info->filename, "%s:", format);
    snprintf(info->magick, sizeof info->magick, "%s", format);
    (void)CloneString(&info->size, SIZE_HINT);
    info->subimage = 0;  // the first picture of the file
    info->subrange = 1;

    ExceptionInfo exception;
    GetExceptionInfo(&exception);
    Image *image = BlobToImage(info, photo, size, &exception);
    if (image)
        image = Prepared(image, &exception);
    bool made = image && JpegWrite(info, image, jpeg, &exception);
    if (image)
        DestroyImageList(image);
    DestroyExceptionInfo(&exception);
    DestroyImageInfo(info);
    return made;
}
