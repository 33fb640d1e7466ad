// The first packet of the first sound stream, and the search for an audio frame from there on.
#include "video/mpeg_sound.h"

#include <algorithm>

static constexpr int64_t PACKET_TAIL = 15;  // a packet that begins later has no room for a frame
static constexpr int64_t FRAME_TAIL = 10;
static constexpr int RUNS_SIZE = 2048;  // the longest frame has 1729 bytes

// Where the first byte that is not 0 stands, from each offset at the start of the file on. The padding behind a
// frame is counted there, at the frame's length and not at its end; the offsets are the same for every frame, so
// they are looked at once.
struct ZeroRuns {
    int64_t ends[RUNS_SIZE];
};

static void ZeroRunsRead(MpegStreamReader *reader, ZeroRuns *runs)
{
    int64_t end = Mp3SkipZeros(&reader->file, RUNS_SIZE, reader->file.size + 1);
    (void)Mp3ReadByte(&reader->file, 0);  // the block comes whole; backwards it would come once for each byte
    for (int offset = RUNS_SIZE - 1; offset >= 0; offset--) {
        if (Mp3ReadByte(&reader->file, offset) != 0)
            end = offset;
        runs->ends[offset] = end;
    }
}

// The number of zero bytes that count as padding of the frame in `info`, found at `pos`.
static int64_t PaddingCount(const ZeroRuns *runs, int64_t size, int64_t pos, const MpegAudioInfo *info)
{
    int64_t room = size - pos - info->frame_length;
    int64_t start = info->frame_length + 1;
    return std::clamp<int64_t>(runs->ends[start] - start, 0, std::max<int64_t>(room, 0));
}

// The offset behind the packet header at `offset`.
static int64_t PayloadOffset(MpegStreamReader *reader, int64_t offset)
{
    if (reader->kind == MPEG_STREAM_2)
        return offset + 9 + MpegReadByte(reader, offset + 8);
    if (reader->kind != MPEG_STREAM_1)
        return offset + 10;

    int64_t pos = offset + 6;
    while (MpegReadByte(reader, pos) & 0x80)
        pos++;  // stuffing
    if ((MpegReadByte(reader, pos) & 0xC0) == 0x40)
        pos += 2;  // buffer size
    switch (MpegReadByte(reader, pos) >> 4) {
    case 2:
        return pos + 5;  // a time stamp
    case 3:
        return pos + 10;  // two of them
    default:
        return pos + 1;
    }
}

// From `pos` on, until a frame is followed by another one.
static void FrameScan(MpegStreamReader *reader, int64_t pos, MpegAudioInfo *info)
{
    ZeroRuns runs;
    ZeroRunsRead(reader, &runs);
    int64_t size = reader->file.size;
    // Looks a fixed way ahead of the scan, behind far padding; in one cache the two would displace each other.
    Mp3FileReader ahead = {};
    ahead.stream = reader->file.stream;
    ahead.size = size;
    for (; pos < size - FRAME_TAIL; pos++) {
        if (MpegHeaderFind(&reader->file, &pos, info) == 0)
            continue;
        int64_t padding = PaddingCount(&runs, size, pos, info);
        int64_t next = info->frame_offset + info->frame_length + padding;
        Mp3FileReader *there = padding < RUNS_SIZE ? &reader->file : &ahead;
        if (next < size && MpegHeaderCheck(there, next) != -1)
            return;
    }
}

void MpegSoundFind(MpegStreamReader *reader, MpegAudioInfo *info)
{
    int64_t packet = MpegFindStartCode(reader, 0, MPEG_FIRST_SOUND_STREAM);
    if (packet < 0 || packet > reader->file.size - PACKET_TAIL)
        return;
    int64_t pos = PayloadOffset(reader, packet);
    if (MpegHeaderFind(&reader->file, &pos, info) == 0)
        FrameScan(reader, pos, info);
}
