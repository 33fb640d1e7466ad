// The cached reader. Reads go past the stream's buffer straight to the file, so that each byte is copied
// once and nothing depends on the stream's position.
#include "music/mp3_reader.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "common/byte_order.h"

// A search looks up to a frame ahead (1729 bytes) and then goes on behind its candidate. The end of the old
// block stays in front of the new one, so that going back costs no second read.
static constexpr int CACHE_KEPT = 2048;

static bool IsSeekError(int error)
{
    return error == EINVAL || error == ESPIPE || error == EOVERFLOW;
}

// The bytes read, 0 for none, -1 when there is no such position.
static int FileRead(const Mp3FileReader *reader, int64_t pos, uint8_t *out, int size)
{
    if (pos < 0)
        return -1;
    int done = 0;
    while (done < size) {
        ssize_t got = pread(fileno(reader->stream), out + done, static_cast<size_t>(size - done), pos + done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && done == 0 && IsSeekError(errno))
            return -1;
        if (got <= 0)
            break;
        done += static_cast<int>(got);
    }
    return done;
}

static bool IsCached(const Mp3FileReader *reader, int64_t pos)
{
    return reader->start <= pos && pos < reader->end;
}

// Reads on where the block ends, and keeps its last bytes.
static void CacheAdvance(Mp3FileReader *reader)
{
    int kept = static_cast<int>(std::min<int64_t>(CACHE_KEPT, reader->end - reader->start));
    memmove(reader->cache, reader->cache + (reader->end - reader->start - kept), static_cast<size_t>(kept));
    int got = FileRead(reader, reader->end, reader->cache + kept, MP3_CACHE_SIZE - kept);
    reader->start = reader->end - kept;
    reader->end += std::max(got, 0);
}

int Mp3ReadAhead(Mp3FileReader *reader, int64_t pos, const uint8_t **bytes)
{
    if (!IsCached(reader, pos) && reader->end > reader->start && pos >= reader->end &&
        pos - reader->end < MP3_CACHE_SIZE - CACHE_KEPT)
        CacheAdvance(reader);
    if (!IsCached(reader, pos)) {
        int got = FileRead(reader, pos, reader->cache, MP3_CACHE_SIZE);
        if (got <= 0)
            return got;  // nothing was overwritten
        reader->start = pos;
        reader->end = pos + got;
    }
    *bytes = reader->cache + (pos - reader->start);
    return static_cast<int>(reader->end - pos);
}

int Mp3ReadByte(Mp3FileReader *reader, int64_t pos)
{
    if (IsCached(reader, pos))
        return reader->cache[pos - reader->start];
    const uint8_t *bytes = nullptr;
    return Mp3ReadAhead(reader, pos, &bytes) > 0 ? *bytes : MP3_NO_BYTE;
}

int Mp3ReadBlock(Mp3FileReader *reader, int64_t pos, void *out, int length)
{
    int done = 0;
    while (done < length) {
        const uint8_t *bytes = nullptr;
        int got = Mp3ReadAhead(reader, pos + done, &bytes);
        if (got < 0 && done == 0)
            return -1;
        if (got <= 0)
            break;
        int taken = std::min(got, length - done);
        memcpy(static_cast<uint8_t *>(out) + done, bytes, static_cast<size_t>(taken));
        done += taken;
    }
    return done;
}

uint32_t Mp3ReadSyncsafe(Mp3FileReader *reader, int64_t pos)
{
    if (pos < 0)
        return MP3_NO_BYTE;
    uint32_t value = 0;
    for (int i = 0; i < 4; i++)
        value |= static_cast<uint32_t>(Mp3ReadByte(reader, pos + i)) << (7 * (3 - i));
    return value;
}

uint32_t Mp3ReadUInt32BE(Mp3FileReader *reader, int64_t pos)
{
    uint8_t bytes[4];
    int got = Mp3ReadBlock(reader, pos, bytes, sizeof bytes);
    if (got < 0)
        return MP3_NO_BYTE;
    return got == sizeof bytes ? BigEndian32(bytes) : 0;
}

int64_t Mp3NextReadable(const Mp3FileReader *reader, int64_t pos, int64_t limit)
{
    if (pos < 0)
        return std::min<int64_t>(0, limit);
    // A bad sector may end anywhere. A file that lost its end has nothing more to give.
    struct stat status;
    if (fstat(fileno(reader->stream), &status) < 0 || pos >= status.st_size)
        return limit;
    return pos + 1;
}

int64_t Mp3FindByte(Mp3FileReader *reader, int64_t pos, int64_t limit, int value)
{
    while (pos < limit) {
        const uint8_t *bytes = nullptr;
        int64_t at_hand = std::min<int64_t>(Mp3ReadAhead(reader, pos, &bytes), limit - pos);
        if (at_hand <= 0) {
            pos = Mp3NextReadable(reader, pos, limit);
            continue;
        }
        const void *found = memchr(bytes, value, static_cast<size_t>(at_hand));
        if (found)
            return pos + (static_cast<const uint8_t *>(found) - bytes);
        pos += at_hand;
    }
    return pos;
}

// The number of 0 bytes at the start: a buffer is all 0 when its first byte is and each equals the next.
static int64_t ZerosAtStart(const uint8_t *bytes, int64_t length)
{
    static constexpr int64_t STEP = 512;
    int64_t done = 0;
    while (length - done > STEP && bytes[done] == 0 && memcmp(bytes + done, bytes + done + 1, STEP - 1) == 0)
        done += STEP;
    while (done < length && bytes[done] == 0)
        done++;
    return done;
}

int64_t Mp3SkipZeros(Mp3FileReader *reader, int64_t pos, int64_t limit)
{
    while (pos < limit) {
        const uint8_t *bytes = nullptr;
        int64_t at_hand = std::min<int64_t>(Mp3ReadAhead(reader, pos, &bytes), limit - pos);
        if (at_hand <= 0)
            return pos;
        int64_t zeros = ZerosAtStart(bytes, at_hand);
        pos += zeros;
        if (zeros < at_hand)
            return pos;
    }
    return pos;
}
