// Cover files of ID3v2 pictures. Where they go is the media-index library's business.
#include "music/id3_cover.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "common/log.h"
#include "platform/media_index.h"

static constexpr char LOG_MODULE[] = "id3_cover";

static constexpr int MIME_LENGTH = 31;
static constexpr int LAST_PICTURE_TYPE = 20;
static constexpr mode_t COVER_MODE = 0777;

enum ImageKind { IMAGE_NONE = 0, IMAGE_JPEG = 1, IMAGE_PNG = 2 };

// The bytes [pos, end) of the file that make the picture.
struct Picture {
    int64_t pos;
    int64_t end;
    ImageKind kind;
    int type;  // of the ID3 list
};

static ImageKind ImageKindOf(const char *format, int version)
{
    static constexpr struct {
        const char *apic;
        const char *pic;
        ImageKind kind;
    } names[] = {
        {"image/jpeg", "jpg", IMAGE_JPEG},
        {"image/jpg", "jpg", IMAGE_JPEG},
        {"image/png", "png", IMAGE_PNG},
    };
    for (const auto &name : names)
        if (strcasecmp(format, version == 2 ? name.pic : name.apic) == 0)
            return name.kind;
    return IMAGE_NONE;
}

// Reads the image format behind the encoding byte; *pos moves behind it. A MIME type ends at its 0 byte or at
// the frame's end, or is cut after 31 characters with its 0 byte still to come.
static void FormatRead(Mp3FileReader *reader, int64_t *pos, int64_t end, int version,
                       char (&format)[MIME_LENGTH + 1])
{
    int length = version == 2 ? 3 : MIME_LENGTH;
    for (int i = 0; i < length && (version == 2 || *pos < end); i++) {
        format[i] = static_cast<char>(Mp3ReadByte(reader, (*pos)++));
        if (version != 2 && format[i] == '\0')
            return;
    }
}

// Walks over what stands before the picture. -1 when the frame holds none that is wanted.
static int PictureFind(Mp3FileReader *reader, Picture *picture, const char *media_path, int version)
{
    picture->pos++;  // the text encoding: nothing here depends on it
    char format[MIME_LENGTH + 1] = {};
    FormatRead(reader, &picture->pos, picture->end, version, format);
    picture->kind = ImageKindOf(format, version);
    if (picture->kind == IMAGE_NONE) {
        LogParen(LOG_HERE, "Wrong MIME type: %s, file:%s", format, media_path);
        return -1;
    }
    picture->type = Mp3ReadByte(reader, picture->pos++);
    if (picture->type > LAST_PICTURE_TYPE) {
        LogParen(LOG_HERE, "Wrong cover type: %d", picture->type);
        return -1;
    }
    // A single 0 byte ends the description even in UTF-16, so the picture may begin with the second one.
    picture->pos = Mp3FindByte(reader, picture->pos, picture->end, 0) + 1;
    int64_t smallest = picture->kind == IMAGE_JPEG ? 10 : 8;
    return picture->end - picture->pos < smallest ? -1 : 0;
}

static int BlockWrite(FILE *cover, const uint8_t *bytes, int64_t length)
{
    auto size = static_cast<size_t>(length);
    if (fwrite(bytes, 1, size, cover) == size)
        return 0;
    LogParen(LOG_HERE, "FAILED TO WRITE PIC FILE, reason=%s", strerror(errno));
    return -1;
}

static int PictureWrite(Mp3FileReader *reader, const Picture *picture, FILE *cover)
{
    uint8_t missing[4096];
    memset(missing, MP3_NO_BYTE, sizeof missing);
    int64_t length = 0;
    for (int64_t pos = picture->pos; pos < picture->end; pos += length) {
        const uint8_t *bytes = nullptr;
        length = std::min<int64_t>(Mp3ReadAhead(reader, pos, &bytes), picture->end - pos);
        if (length <= 0) {
            bytes = missing;
            length = std::min<int64_t>(Mp3NextReadable(reader, pos, picture->end) - pos, sizeof missing);
        }
        if (BlockWrite(cover, bytes, length) < 0)
            return -1;
    }
    return 0;
}

static int OwnerSet(const char *cover_path, const char *media_path)
{
    struct stat media;
    if (stat(media_path, &media) < 0) {
        LogParen(LOG_HERE, "FAILED TO stat %s, reason: %s", media_path, strerror(errno));
        return -1;
    }
    if (chmod(cover_path, COVER_MODE) < 0) {
        LogParen(LOG_HERE, "FAILED TO chmod %s, reason: %s", cover_path, strerror(errno));
        return -1;
    }
    if (chown(cover_path, media.st_uid, media.st_gid) < 0) {
        LogPlain("FAILED TO chown %s to uid=%d, gid=%d, reason: %s", cover_path, static_cast<int>(media.st_uid),
                 static_cast<int>(media.st_gid), strerror(errno));
        return -1;
    }
    return 0;
}

static int CoverWrite(Mp3FileReader *reader, const Picture *picture, const char *cover_path,
                      const char *media_path)
{
    if (unlink(cover_path) < 0 && errno != ENOENT) {
        LogParen(LOG_HERE, "FAILED to unlink :%s,  reason=%s", cover_path, strerror(errno));
        return -1;
    }
    FILE *cover = fopen(cover_path, "w");
    if (!cover) {
        LogParen(LOG_HERE, "FAILED TO OPEN %s, reason=%s", cover_path, strerror(errno));
        return -1;
    }
    setbuf(cover, nullptr);  // whole blocks come, and a full disk shows at once
    int result = PictureWrite(reader, picture, cover);
    if (result == 0)
        result = OwnerSet(cover_path, media_path);
    fclose(cover);
    return result;
}

int Id3CoverSave(Mp3FileReader *reader, int64_t frame_offset, uint32_t frame_size, const char *media_path,
                 int index, int version)
{
    if (!reader || !media_path) {
        LogParen(LOG_HERE, "Bad parameters.");
        return 0;
    }
    Picture picture = {};
    picture.pos = frame_offset + (version == 2 ? 6 : 10);
    picture.end = picture.pos + frame_size;
    if (PictureFind(reader, &picture, media_path, version) < 0)
        return 0;

    char cover_path[4096];
    if (!GetCoverPath(media_path, cover_path, sizeof cover_path, picture.type, index, picture.kind)) {
        LogParen(LOG_HERE, "FAILED to get CoverPath :%s", media_path);
        return 0;
    }
    if (CoverWrite(reader, &picture, cover_path, media_path) < 0) {
        (void)unlink(cover_path);  // no partial picture stays
        return 0;
    }
    return 1;
}
