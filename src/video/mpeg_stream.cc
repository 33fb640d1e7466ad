// The byte reader and the search for start codes.
#include "video/mpeg_stream.h"

#include "common/log.h"

static constexpr char LOG_MODULE[] = "metavideo";

static constexpr int64_t SEARCH_LAST = 99999;
static constexpr int64_t START_CODE_SIZE = 4;

int MpegReadByte(MpegStreamReader *reader, int64_t offset)
{
    const uint8_t *bytes = nullptr;
    int count = Mp3ReadAhead(&reader->file, offset, &bytes);
    if (count > 0)
        return bytes[0];
    if (count < 0)
        LogParen(LOG_HERE, "AT EOF ");
    else
        LogParen(LOG_HERE, "Invalid offset ");
    return MP3_NO_BYTE;
}

int64_t MpegFindPrefix(MpegStreamReader *reader, int64_t start)
{
    for (int64_t pos = start; pos < reader->file.size - START_CODE_SIZE && pos <= SEARCH_LAST; pos++)
        if (MpegReadByte(reader, pos) == 0 && MpegReadByte(reader, pos + 1) == 0 &&
            MpegReadByte(reader, pos + 2) == 1)
            return pos;
    return -1;
}

int64_t MpegFindStartCode(MpegStreamReader *reader, int64_t start, int code)
{
    int64_t pos = MpegFindPrefix(reader, start);
    while (pos >= 0 && MpegReadByte(reader, pos + 3) != code)
        pos = MpegFindPrefix(reader, pos + 1);
    return pos;
}
