#include "music/plain_search.h"

static int ByteAt(std::string_view file, int64_t pos)
{
    if (pos < 0 || pos >= static_cast<int64_t>(file.size()))
        return 17;
    return static_cast<unsigned char>(file[static_cast<size_t>(pos)]);
}

static const int *BitrateRow(int version, int layer)
{
    static const int rows[6][16] = {
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
    };
    return rows[(version - 1) * 3 + layer - 1];
}

static int HeaderFind(std::string_view file, int64_t size, int64_t &pos, MpegAudioInfo &info, int &logs)
{
    bool mark = false;
    int b1 = 0;
    for (;; pos++) {
        if (pos >= size - 10) {
            logs++;
            return 0;
        }
        if (ByteAt(file, pos) != 0xFF)
            continue;
        b1 = ByteAt(file, pos + 1);
        if ((b1 & 0xF0) == 0xF0)
            break;
        if ((b1 & 0xE0) == 0xE0) {
            mark = true;
            break;
        }
    }
    info.frame_offset = pos;
    if (b1 & 8) {
        if (mark)
            return 0;
        info.version = 1;
    } else {
        info.version = mark ? 3 : 2;
    }
    static const int layers[4] = {-1, 3, 2, 1};
    info.layer = layers[(b1 & 6) >> 1];
    if (info.layer < 0)
        return 0;
    int b2 = ByteAt(file, pos + 2);
    int b3 = ByteAt(file, pos + 3);
    int rate_index = (b2 & 0x0C) >> 2;
    if (rate_index > 2 || b2 >> 4 == 15 || info.version == 3)
        return 0;
    static const int rates[2][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}};
    int kbit = BitrateRow(info.version, info.layer)[b2 >> 4];
    info.sample_rate = rates[info.version - 1][rate_index];
    info.padding = (b2 >> 1) & 1;
    info.mode = b3 >> 6;
    int product =
        kbit * (info.version == 1 ? (info.layer == 1 ? 48000 : 144000) : (info.layer == 1 ? 24000 : 72000));
    info.frame_length = product / info.sample_rate + (info.layer == 1 ? 4 * info.padding : info.padding);
    if (info.frame_length == 0)
        return 0;
    info.duration = static_cast<double>(size) / kbit * 0.008;
    info.bitrate = kbit * 1000;
    return 1;
}

static int HeaderCheck(std::string_view file, int64_t pos)
{
    int b1 = ByteAt(file, pos + 1);
    int b2 = ByteAt(file, pos + 2);
    bool ok = ByteAt(file, pos) == 0xFF && (b1 & 0xF0) == 0xF0 && (b1 & 6) != 0 && (b2 & 0x0C) != 0x0C &&
              (b2 & 0xF0) != 0xF0;
    return ok ? 0 : -1;
}

PlainFrame PlainFirstFrameFind(std::string_view file, int64_t size, int64_t start, MpegAudioInfo *info)
{
    int logs = 0;
    int64_t pos = start;
    while (pos < size - 10) {
        if (!HeaderFind(file, size, pos, *info, logs)) {
            pos++;
            continue;
        }
        int64_t candidate = pos;
        int64_t k = 0;
        while (pos + info->frame_length + k < size && ByteAt(file, pos + info->frame_length + k + 1) == 0)
            k++;
        if (HeaderCheck(file, info->frame_offset + info->frame_length + k) == 0)
            return {0, candidate, logs};
        pos = candidate + 1;
    }
    return {-1, 0, logs};
}

int64_t PlainMarkFind(std::string_view file, int64_t size, int64_t from, std::string_view mark)
{
    for (int64_t p = from; p < size / 4; p++) {
        int64_t matched = 0;
        while (matched < 4 &&
               ByteAt(file, p + matched) == static_cast<unsigned char>(mark[static_cast<size_t>(matched)]))
            matched++;
        if (matched == 4)
            return p;
    }
    return -1;
}
