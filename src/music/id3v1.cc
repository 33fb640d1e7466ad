// The ID3v1 tag. Its bytes come from the block that was loaded to look for "TAG".
#include "music/id3v1.h"

#include "common/log.h"

static constexpr char LOG_MODULE[] = "id3v1";

static constexpr int TAG_SIZE = 128;
static constexpr int MARK_SIZE = 3;

// Blanks that a letter follows are kept, the ones in front of it too.
static void EmptyIfBlank(char *field, int width)
{
    int i = 0;
    while (i < width && field[i] == ' ')
        i++;
    if (i == width || field[i] == '\0')
        field[0] = '\0';
}

int Id3v1Read(Mp3FileReader *reader, Id3v1Tag *tag)
{
    int64_t start = reader->size - TAG_SIZE;
    for (int i = 0; i < MARK_SIZE; i++)
        if (Mp3ReadByte(reader, start + i) != "TAG"[i])
            return 0;

    int64_t fields = start + MARK_SIZE;
    int got = Mp3ReadBlock(reader, fields, tag, sizeof *tag);
    if (got < 0) {
        LogParen(LOG_HERE, "Failed to seek to (%lld)", static_cast<long long>(fields));
        return -1;
    }
    if (got == 0) {
        LogParen(LOG_HERE, "Failed to read id3v1 data");
        return -1;
    }
    reader->size -= TAG_SIZE;
    EmptyIfBlank(tag->title, sizeof tag->title);
    EmptyIfBlank(tag->artist, sizeof tag->artist);
    EmptyIfBlank(tag->album, sizeof tag->album);
    EmptyIfBlank(tag->comment, sizeof tag->comment);
    EmptyIfBlank(tag->year, sizeof tag->year);
    return 1;
}
