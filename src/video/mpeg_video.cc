// The play time is the whole file at the header's nominal bit rate, never a time stamp, and an extension that
// raises the bit rate does not shorten it.
#include "video/mpeg_video.h"

#include <iterator>

#include "common/log.h"

static constexpr char LOG_MODULE[] = "metavideo";

static constexpr double BITRATE_UNIT = 400.0;  // bit/s
static constexpr int SEQUENCE_EXTENSION = 1;   // the kind of extension, in the high four bits

static constexpr double FRAME_RATES[] = {
    0.0, 24000.0 / 1001.0, 24.0, 25.0, 30000.0 / 1001.0, 30.0, 50.0, 60000.0 / 1001.0, 60.0,
};

static bool IsStartCodeAt(MpegStreamReader *reader, int64_t offset, int code)
{
    return MpegReadByte(reader, offset) == 0 && MpegReadByte(reader, offset + 1) == 0 &&
           MpegReadByte(reader, offset + 2) == 1 && MpegReadByte(reader, offset + 3) == code;
}

// `pos` is the first byte behind the start code.
static void SequenceHeaderDecode(MpegStreamReader *reader, int64_t pos, MpegVideoInfo *info)
{
    uint32_t bytes[7];
    for (size_t i = 0; i < std::size(bytes); i++)
        bytes[i] = static_cast<uint32_t>(MpegReadByte(reader, pos + static_cast<int64_t>(i)));

    info->width = (bytes[0] << 8 | bytes[1]) >> 4;
    info->height = (bytes[1] << 8 | bytes[2]) & 0xFFF;
    uint32_t rate_code = bytes[3] & 0x0F;
    info->frame_rate = rate_code < std::size(FRAME_RATES) ? FRAME_RATES[rate_code] : 0.0;
    info->aspect_ratio = static_cast<uint8_t>(bytes[3] >> 4);
    if (info->aspect_ratio == 0)
        LogParen(LOG_HERE, "invalid aspect_ratio.");
    info->bitrate_value = (bytes[4] << 8 | bytes[5]) << 2 | bytes[6] >> 6;
    info->duration = static_cast<double>(reader->file.size) * 8.0 / (info->bitrate_value * BITRATE_UNIT);
}

// `pos` is the first byte behind the start code.
static void SequenceExtensionDecode(MpegStreamReader *reader, int64_t pos, MpegVideoInfo *info)
{
    uint32_t bytes[6];
    for (size_t i = 0; i < std::size(bytes); i++)
        bytes[i] = static_cast<uint32_t>(MpegReadByte(reader, pos + static_cast<int64_t>(i)));

    reader->kind = MPEG_STREAM_2;
    // The mask leaves nothing of the low bit of the width's extension: 1 adds nothing, 2 and 3 add 8192.
    info->width |= ((bytes[1] & 1) << 1 | (bytes[2] & 0x50) >> 7) << 12;
    info->height |= (bytes[2] & 0x60) << 7;
    info->bitrate_value |= ((bytes[2] & 0x1F) << 7 | (bytes[3] & 0xFE) >> 1) << 18;
    info->frame_rate = info->frame_rate * (((bytes[5] & 0x60) >> 5) + 1) / ((bytes[5] & 0x1F) + 1);
}

static void ExtensionsRead(MpegStreamReader *reader, int64_t start, MpegVideoInfo *info)
{
    for (int64_t pos = MpegFindPrefix(reader, start); pos >= 0; pos = MpegFindPrefix(reader, pos + 1)) {
        int code = MpegReadByte(reader, pos + 3);
        if (code == MPEG_PICTURE_GROUP)
            return;
        if (code == MPEG_EXTENSION && MpegReadByte(reader, pos + 4) >> 4 == SEQUENCE_EXTENSION)
            SequenceExtensionDecode(reader, pos + 4, info);
    }
}

int MpegSequenceHeaderRead(MpegStreamReader *reader, int64_t offset, MpegVideoInfo *info)
{
    if (!IsStartCodeAt(reader, offset, MPEG_SEQUENCE_HEADER))
        return -1;
    int64_t pos = offset + 4;
    SequenceHeaderDecode(reader, pos, info);
    ExtensionsRead(reader, pos + 4, info);
    return 0;
}
