// What the name and the status of a media file tell: extension, class, times.
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <time.h>

#include "mediaindex/exported.h"

static constexpr const char *JPEG_EXTENSIONS[] = {"jpg", "jpeg", "jpe"};

// Pictures that the web album shows, some of them through thumbnails: all whose pixel size can be read.
static constexpr const char *WEB_PHOTO_EXTENSIONS[] = {
    "jpg", "jpeg", "jpe", "png", "gif", "bmp", "ico", "psd", "tif", "tiff",
};

// Videos that browsers play as they are.
static constexpr const char *WEB_VIDEO_EXTENSIONS[] = {"flv", "mp4", "m4v"};

// Every video that can be probed, and so converted. Disc images, DVD structure files and subtitles are none.
static constexpr const char *VIDEO_EXTENSIONS[] = {
    "avi", "mpg", "mpeg", "dat", "asf", "wmv", "vob", "mov", "rm", "rmvb", "mp4",    "divx", "xvid", "flv",
    "mkv", "ts",  "m2ts", "m2t", "mts", "m4v", "3gp", "3g2", "qt", "swf",  "dvr-ms", "trp",  "tp",
};

template <size_t count>
static int IsListed(const char *const (&list)[count], const char *ext)
{
    for (const char *listed : list) {
        if (ext && !strcasecmp(listed, ext))
            return 1;
    }
    return 0;
}

const char *NUBOIndexExtGet(const char *path)
{
    if (!path)
        return nullptr;
    const char *slash = strrchr(path, '/');
    const char *dot = strrchr(slash ? slash + 1 : path, '.');
    return dot ? dot + 1 : nullptr;
}

int BlNUBOIndexIsJpeg(const char *ext)
{
    return IsListed(JPEG_EXTENSIONS, ext);
}

int BlNUBOIndexIsPhotoOnWeb(const char *ext)
{
    return IsListed(WEB_PHOTO_EXTENSIONS, ext);
}

int BlNUBOIndexIsVideoOnWeb(const char *ext)
{
    return IsListed(WEB_VIDEO_EXTENSIONS, ext);
}

int BlNUBOIndexIsVideo(const char *ext)
{
    return IsListed(VIDEO_EXTENSIONS, ext);
}

int BlNUBOIndexIsPhotoOnWebFile(const char *path)
{
    return BlNUBOIndexIsPhotoOnWeb(NUBOIndexExtGet(path));
}

int BlNUBOIndexIsVideoOnWebFile(const char *path)
{
    return BlNUBOIndexIsVideoOnWeb(NUBOIndexExtGet(path));
}

static int TimeWrite(time_t when, char *out, size_t size)
{
    struct tm parts;
    if (localtime_r(&when, &parts) && strftime(out, size, "%Y-%m-%d %H:%M:%S", &parts) > 0)
        return 0;
    out[0] = '\0';  // a year that no calendar holds, or too small a buffer
    return -1;
}

int NUBOIndexCTimeMTimeGet(const char *path, char *ctime_text, int ctime_size, char *mtime_text, int mtime_size)
{
    if (!path || !ctime_text || ctime_size <= 0 || !mtime_text || mtime_size <= 0)
        return -1;
    ctime_text[0] = '\0';
    mtime_text[0] = '\0';
    struct stat status;
    if (stat(path, &status) < 0)
        return -1;
    int changed = TimeWrite(status.st_ctime, ctime_text, static_cast<size_t>(ctime_size));
    int modified = TimeWrite(status.st_mtime, mtime_text, static_cast<size_t>(mtime_size));
    return changed | modified;
}
