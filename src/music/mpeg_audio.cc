// MPEG audio frame headers. MPEG-2.5 streams and the free format are not taken.
#include "music/mpeg_audio.h"

#include "common/log.h"

static constexpr char LOG_MODULE[] = "mpeg_audio";

static constexpr int64_t TAIL = 10;  // no frame begins in the last bytes of a file

// kbit/s by version (MPEG-1, MPEG-2), layer and index; 0 is the free format, 15 is never looked up.
static constexpr int BITRATES[2][3][16] = {
    {
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
    },
    {
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
    },
};

// Hz by version (MPEG-1, MPEG-2, MPEG-2.5) and index.
static constexpr int SAMPLE_RATES[3][3] = {
    {44100, 48000, 32000},
    {22050, 24000, 16000},
    {11025, 12000, 8000},
};

// The second byte of a header: 1, 2 or 3 (MPEG-2.5); 0 for the reserved one; -1 when it makes no sync.
static int VersionOf(int b1)
{
    bool is_set = b1 & 0x08;
    if ((b1 & 0xF0) == 0xF0)
        return is_set ? 1 : 2;
    if ((b1 & 0xE0) == 0xE0)
        return is_set ? 0 : 3;
    return -1;
}

// 1, 2 or 3; -1 for the reserved code.
static int LayerOf(int b1)
{
    int code = (b1 & 0x06) >> 1;
    return code == 0 ? -1 : 4 - code;
}

static bool AreRatesValid(int b2)
{
    return (b2 & 0x0C) >> 2 <= 2 && b2 >> 4 != 15;
}

// The next sync in [pos, limit), or limit.
static int64_t SyncFind(Mp3FileReader *reader, int64_t pos, int64_t limit)
{
    for (;; pos++) {
        pos = Mp3FindByte(reader, pos, limit, 0xFF);
        if (pos >= limit || VersionOf(Mp3ReadByte(reader, pos + 1)) >= 0)
            return pos;
    }
}

// Bytes; 0 for the free format without padding, and for MPEG-2.5. MPEG-2 layer II goes by the factor of
// layer III, so its frames come out at half their length.
static int FrameLength(const MpegAudioInfo *info)
{
    bool is_layer1 = info->layer == 1;
    double factor;
    if (info->version == 1)
        factor = is_layer1 ? 48000.0 : 144000.0;
    else if (info->version == 2)
        factor = is_layer1 ? 24000.0 : 72000.0;
    else
        return 0;
    int length = static_cast<int>(info->bitrate * factor) / info->sample_rate;
    return length + (is_layer1 ? 4 : 1) * info->padding;
}

static void RatesDecode(int b2, MpegAudioInfo *info)
{
    info->bitrate = info->version == 3 ? 0 : BITRATES[info->version - 1][info->layer - 1][b2 >> 4];
    info->byte_rate = static_cast<float>(info->bitrate * 1000 / 8.0);
    info->sample_rate = SAMPLE_RATES[info->version - 1][(b2 & 0x0C) >> 2];
    info->padding = b2 >> 1 & 1;
}

static void ModesDecode(int b3, MpegAudioInfo *info)
{
    info->mode = b3 >> 6;
    info->mode_extension = info->mode == 1 ? b3 >> 4 & 3 : -1;
    info->copyright = b3 >> 3 & 1;
    info->original = b3 >> 2 & 1;
    info->emphasis = b3 & 3;
}

// Decodes the header at pos, behind a sync. 1 valid, 0 not.
static int HeaderDecode(Mp3FileReader *reader, int64_t pos, MpegAudioInfo *info)
{
    int b1 = Mp3ReadByte(reader, pos + 1);
    int version = VersionOf(b1);
    info->frame_offset = pos;
    if (version <= 0)
        return 0;
    info->version = version;
    info->layer = LayerOf(b1);
    if (info->layer < 0)
        return 0;
    info->crc = b1 & 1 ? 0 : 1;

    int b2 = Mp3ReadByte(reader, pos + 2);
    if (!AreRatesValid(b2))
        return 0;
    RatesDecode(b2, info);
    ModesDecode(Mp3ReadByte(reader, pos + 3), info);
    info->frame_length = FrameLength(info);
    if (info->frame_length == 0)
        return 0;

    // The whole file counts, tags and all. Free format with the padding bit divides by 0: infinite.
    info->duration = static_cast<double>(reader->size) / info->bitrate * 0.008;
    info->bitrate *= 1000;
    return 1;
}

int MpegHeaderFind(Mp3FileReader *reader, int64_t *pos, MpegAudioInfo *info)
{
    if (!reader || !pos || !info) {
        LogParen(LOG_HERE, "Bad parameter.");
        return 0;
    }
    int64_t limit = reader->size - TAIL;
    *pos = SyncFind(reader, *pos, limit);
    if (*pos >= limit) {
        LogParen(LOG_HERE, "MPEG Header not found");
        return 0;
    }
    return HeaderDecode(reader, *pos, info);
}

int MpegHeaderCheck(Mp3FileReader *reader, int64_t pos)
{
    if (Mp3ReadByte(reader, pos) != 0xFF)
        return -1;
    int b1 = Mp3ReadByte(reader, pos + 1);
    int version = VersionOf(b1);
    if (version != 1 && version != 2)
        return -1;
    return LayerOf(b1) > 0 && AreRatesValid(Mp3ReadByte(reader, pos + 2)) ? 0 : -1;
}

// A frame may be padded with 0 bytes, but their count is taken one byte ahead of the position that is then
// checked: when it counts any, the check lands on the last 0 byte and fails. So only a header right behind the
// frame confirms it, and a padded frame is passed over.
int MpegFirstFrameFind(Mp3FileReader *reader, int64_t start, MpegAudioInfo *info, int64_t *offset)
{
    for (int64_t pos = start; pos < reader->size - TAIL; pos++) {
        if (!MpegHeaderFind(reader, &pos, info))
            continue;
        if (MpegHeaderCheck(reader, info->frame_offset + info->frame_length) < 0)
            continue;
        *offset = pos;
        return 0;
    }
    return -1;
}
