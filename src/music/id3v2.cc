// The walk over ID3v2 frames: the same for all versions but for the frame header and the ids.
#include "music/id3v2.h"

#include <string.h>
#include <strings.h>

#include "common/log.h"
#include "common/text.h"
#include "music/id3_cover.h"

static constexpr char LOG_MODULE[] = "id3v2";

static constexpr int TAG_HEADER = 10;
static constexpr uint32_t TEXT_FRAME_LIMIT = 1023;

// The parts of a frame's data, all frames being text frames but for pictures and comments.
static constexpr int TEXT_START = 1;                 // behind the encoding byte
static constexpr int COMMENT_DESCRIPTION_START = 4;  // behind the encoding byte and the language

enum { ENCODING_UTF16 = 1, ENCODING_UTF16_BE = 2 };

struct Frame {
    char id[5];
    uint32_t size;
    int64_t data;  // behind the frame header
    int64_t end;
};

enum FrameKind { KIND_TEXT, KIND_NUMBER };

// Where a frame's text goes. Numbers have no flag: they are never taken as UTF-16.
struct FrameField {
    const char *id;
    const char *id22;
    FrameKind kind;
    size_t field;
    size_t size;
    size_t utf16_flag;
};

#define TEXT(id, id22, name, size)                                                                             \
    {                                                                                                          \
        id, id22, KIND_TEXT, offsetof(Id3v2Tag, name), size, offsetof(Id3v2Tag, name##_utf16)                  \
    }
#define NUMBER(id, id22, name)                                                                                 \
    {                                                                                                          \
        id, id22, KIND_NUMBER, offsetof(Id3v2Tag, name), sizeof(Id3v2Tag::name), 0                             \
    }

static constexpr FrameField FRAME_FIELDS[] = {
    TEXT("TALB", "TAL", album, ID3V2_TEXT),
    TEXT("TCON", "TCO", genre, ID3V2_GENRE),
    TEXT("TYER", "TYE", year, 8),
    TEXT("TPE1", "TP1", artist, ID3V2_TEXT),
    TEXT("TIT2", "TT2", title, ID3V2_TEXT),
    TEXT("TCOM", "TCM", composer, ID3V2_TEXT),
    TEXT("COMM", "COM", comment, ID3V2_TEXT),
    NUMBER("TRCK", "TRK", track),
    NUMBER("TPOS", "TPA", disc),
};

static bool HasUtf16Mark(int first, int second)
{
    return (first == 0xFF && second == 0xFE) || (first == 0xFE && second == 0xFF);
}

void Id3Utf16Copy(const char *src, char *dst, size_t dst_size)
{
    memset(dst, 0, dst_size);
    if (!HasUtf16Mark(static_cast<uint8_t>(src[0]), static_cast<uint8_t>(src[1])))
        return;
    for (size_t i = 0; i + 2 < dst_size && (src[i] || src[i + 1]); i += 2) {
        dst[i] = src[i];
        dst[i + 1] = src[i + 1];
    }
}

int64_t Id3v2Size(Mp3FileReader *reader, int *major_version)
{
    for (int i = 0; i < 3; i++)
        if (Mp3ReadByte(reader, i) != "ID3"[i])
            return 0;
    *major_version = Mp3ReadByte(reader, 3);
    return static_cast<int64_t>(Mp3ReadSyncsafe(reader, 6)) + TAG_HEADER;
}

// The size of a 2.2 frame is the OR of its three bytes, so a frame of 256 bytes or more is mis-sized and the
// walk goes astray.
static uint32_t FrameSize(Mp3FileReader *reader, int64_t pos, int version)
{
    if (version == 2)
        return static_cast<uint32_t>(
            (Mp3ReadByte(reader, pos + 3) | Mp3ReadByte(reader, pos + 4) | Mp3ReadByte(reader, pos + 5)) &
            0xFF);
    return version == 3 ? Mp3ReadUInt32BE(reader, pos + 4) : Mp3ReadSyncsafe(reader, pos + 4);
}

static Frame FrameAt(Mp3FileReader *reader, int64_t pos, int version)
{
    Frame frame = {};
    int id_length = version == 2 ? 3 : 4;
    for (int i = 0; i < id_length; i++)
        frame.id[i] = static_cast<char>(Mp3ReadByte(reader, pos + i));
    frame.size = FrameSize(reader, pos, version);
    frame.data = pos + (version == 2 ? 6 : 10);
    frame.end = frame.data + frame.size;
    return frame;
}

static bool IsFrame(const Frame *frame, const char *id, const char *id22, int version)
{
    return strcasecmp(frame->id, version == 2 ? id22 : id) == 0;
}

// A comment's text follows its short description, which the first single 0 byte ends even in UTF-16.
static int64_t CommentTextStart(Mp3FileReader *reader, const Frame *frame)
{
    int64_t zero = Mp3FindByte(reader, frame->data + COMMENT_DESCRIPTION_START, frame->end, 0);
    return zero < frame->end ? zero + 1 : frame->end;
}

// Collects the bytes from `start` to the frame's end in a zeroed buffer. False when there are none.
static bool TextCollect(Mp3FileReader *reader, const Frame *frame, int64_t start, char (&text)[ID3V2_TEXT],
                        bool *is_utf16)
{
    size_t length = 0;
    int encoding = Mp3ReadByte(reader, frame->data);
    if (encoding == ENCODING_UTF16) {
        // Without its mark the text is read as single bytes.
        *is_utf16 = HasUtf16Mark(Mp3ReadByte(reader, start), Mp3ReadByte(reader, start + 1));
    } else if (encoding == ENCODING_UTF16_BE) {
        *is_utf16 = true;
        text[length++] = static_cast<char>(0xFE);
        text[length++] = static_cast<char>(0xFF);
    }
    for (int64_t pos = start; pos < frame->end; pos++) {
        text[length] = static_cast<char>(Mp3ReadByte(reader, pos));
        if (length < ID3V2_TEXT - 1)
            length++;
    }
    return start < frame->end;
}

static void TextStore(Id3v2Tag *tag, const FrameField *row, const char *text, bool is_utf16)
{
    char *base = reinterpret_cast<char *>(tag);
    char *field = base + row->field;
    if (row->kind == KIND_NUMBER) {
        TextCopy(field, row->size, text);
        field[strcspn(field, "/")] = '\0';
    } else if (is_utf16) {
        Id3Utf16Copy(text, field, row->size);
        *reinterpret_cast<uint32_t *>(base + row->utf16_flag) = 1;
    } else {
        TextCopy(field, row->size, text);
    }
}

static void TextFrameRead(Id3v2Tag *tag, Mp3FileReader *reader, const Frame *frame, int version)
{
    int64_t start = frame->data + TEXT_START;
    if (IsFrame(frame, "COMM", "COM", version)) {
        if (tag->comment[0])
            return;  // the first comment wins; of all others the last
        start = CommentTextStart(reader, frame);
    }
    for (const FrameField &row : FRAME_FIELDS) {
        if (!IsFrame(frame, row.id, row.id22, version))
            continue;
        char text[ID3V2_TEXT] = {};
        bool is_utf16 = false;
        if (TextCollect(reader, frame, start, text, &is_utf16))
            TextStore(tag, &row, text, is_utf16);
        return;
    }
}

static void FramesRead(Id3v2Tag *tag, Mp3FileReader *reader, int version, const char *path)
{
    int64_t end = static_cast<int64_t>(Mp3ReadSyncsafe(reader, 6)) + TAG_HEADER;
    for (int64_t pos = TAG_HEADER; pos < end;) {
        int first = Mp3ReadByte(reader, pos);
        if (first < '0' || first > 'Z')
            return;  // padding, an extended header, or the end of the file
        Frame frame = FrameAt(reader, pos, version);
        bool is_picture = IsFrame(&frame, "APIC", "PIC", version);
        if (frame.size > TEXT_FRAME_LIMIT && !is_picture)
            return;  // the rest of the tag is given up with it
        if (!is_picture)
            TextFrameRead(tag, reader, &frame, version);
        else if (tag->cover_count == 0)
            tag->cover_count += static_cast<uint32_t>(Id3CoverSave(reader, pos, frame.size, path, 1, version));
        pos = frame.end;
    }
}

void Id3v2Read(Id3v2Tag *tag, Mp3FileReader *reader, int major_version, const char *path)
{
    if (!tag || !reader || !path) {
        LogParen(LOG_HERE, "Bad parameters.");
        return;
    }
    FramesRead(tag, reader, major_version, path);
}

void Id3v22Read(Id3v2Tag *tag, Mp3FileReader *reader, int major_version, const char *path)
{
    if (!tag || !reader || !path) {
        LogParen(LOG_HERE, "Bad parameters.");
        return;
    }
    FramesRead(tag, reader, major_version, path);
}
