// The first picture of a file, JPEG or PNG, becomes the file's front cover.
#include "audio/mp4_cover.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "platform/media_index.h"

static constexpr char LOG_MODULE[] = "mp4";

static constexpr int COVER_PATH_SIZE = 4096;
static constexpr int PICTURE_TYPE_FRONT = 3;
static constexpr int COVER_INDEX = 1;
static constexpr int KIND_JPEG = 1;
static constexpr int KIND_PNG = 2;
static constexpr uint32_t JPEG_SIZE_MIN = 10;  // smaller ones hold no picture
static constexpr uint32_t PNG_SIZE_MIN = 8;

struct Mp4Picture {
    uint8_t *bytes;
    uint32_t size;
    uint32_t type;
};

static int CoverOwnerSet(int fd, const char *cover, const char *path)
{
    struct stat media;
    if (stat(path, &media) != 0) {
        LogParen(LOG_HERE, "FAILED TO stat %s, reason: %s", path, strerror(errno));
        return 0;
    }
    if (fchmod(fd, 0777) != 0) {
        LogParen(LOG_HERE, "FAILED TO chmod %s, reason: %s", cover, strerror(errno));
        return 0;
    }
    if (fchown(fd, media.st_uid, media.st_gid) != 0) {
        LogPlain("FAILED TO chown %s to uid=%d, gid=%d, reason: %s", cover, static_cast<int>(media.st_uid),
                 static_cast<int>(media.st_gid), strerror(errno));
        return 0;
    }
    return 1;
}

static int CoverWrite(const Mp4Picture *picture, const char *cover, const char *path)
{
    if (unlink(cover) != 0 && errno != ENOENT) {
        LogParen(LOG_HERE, "FAILED to unlink :%s, reason=%s", cover, strerror(errno));
        return 0;
    }
    FILE *file = fopen(cover, "w");
    if (!file) {
        LogParen(LOG_HERE, "FAILED TO OPEN %s, reason=%s", cover, strerror(errno));
        return 0;
    }
    int result = 0;
    if (fwrite(picture->bytes, 1, picture->size, file) != picture->size || fflush(file) != 0)
        LogParen(LOG_HERE, "FAILED TO WRITE PIC FILE, reason=%s", strerror(errno));
    else
        result = CoverOwnerSet(fileno(file), cover, path);
    fclose(file);
    return result;
}

static int PictureSave(const Mp4Picture *picture, const char *path)
{
    if (picture->type != MP4_COVER_JPEG && picture->type != MP4_COVER_PNG) {
        LogParen(LOG_HERE, "Wrong file type %d of cover art of %s.", static_cast<int>(picture->type), path);
        return 0;
    }
    bool is_jpeg = picture->type == MP4_COVER_JPEG;
    if (picture->size < (is_jpeg ? JPEG_SIZE_MIN : PNG_SIZE_MIN))
        return 0;
    char cover[COVER_PATH_SIZE] = "";
    if (!GetCoverPath(path, cover, sizeof cover, PICTURE_TYPE_FRONT, COVER_INDEX,
                      is_jpeg ? KIND_JPEG : KIND_PNG)) {
        LogParen(LOG_HERE, "FAILED to get CoverPath of %s", path);
        return 0;
    }
    return CoverWrite(picture, cover, path);
}

int Mp4SaveCoverArt(MP4LibraryFile *file, const char *path)
{
    if (!file || !path || !*path) {
        LogParen(LOG_HERE, "Bad parameters.");
        return 0;
    }
    Mp4Picture picture = {};
    int result = 0;
    if (MP4GetMetadataCoverArt(file, &picture.bytes, &picture.size) && picture.bytes &&
        MP4GetMetadataCoverArtFileType(file, &picture.type))
        result = PictureSave(&picture, path);
    free(picture.bytes);
    return result;
}
