// Xing and VBRI headers. Most files have neither, and then a quarter of the file is searched: one pass looks for
// both marks.
#include "music/mpeg_vbr.h"

#include <limits.h>
#include <string.h>

#include <algorithm>

static constexpr int MARK_LENGTH = 4;
static constexpr char XING[] = "Xing";
static constexpr char VBRI[] = "VBRI";

static constexpr double DURATION_LIMIT = 43200.0;  // twelve hours: more is taken for a defect

// By version (MPEG-1; MPEG-2 and MPEG-2.5) and layer.
static constexpr int SAMPLES_PER_FRAME[2][3] = {
    {384, 1152, 1152},
    {384, 1152, 576},
};

static bool IsInfoUsable(const MpegAudioInfo *info)
{
    return info && info->bitrate != 0 && info->sample_rate != 0 && info->version > 0 && info->layer > 0;
}

// How many marks may begin at once: the starts from pos on, below limit, whose four bytes are at hand. 0 when
// no mark can begin at pos.
static int64_t StartsAtHand(Mp3FileReader *reader, int64_t pos, int64_t limit, const uint8_t **bytes)
{
    int at_hand = Mp3ReadAhead(reader, pos, bytes);
    if (at_hand > 0 && at_hand < MARK_LENGTH) {
        (void)Mp3ReadByte(reader, pos + at_hand);  // reads on and keeps these
        at_hand = Mp3ReadAhead(reader, pos, bytes);
    }
    return std::clamp<int64_t>(at_hand - (MARK_LENGTH - 1), 0, limit - pos);
}

// The first of the starts at which the mark stands, or -1.
static int64_t MarkAmong(const uint8_t *bytes, int64_t starts, const char *mark)
{
    for (int64_t at = 0; at < starts; at++) {
        const void *found = memchr(bytes + at, mark[0], static_cast<size_t>(starts - at));
        if (!found)
            return -1;
        at = static_cast<const uint8_t *>(found) - bytes;
        if (memcmp(found, mark, MARK_LENGTH) == 0)
            return at;
    }
    return -1;
}

// Notes the first VBRI mark among these starts, which follow the ones covered so far.
static void VbriNote(Mp3FileReader *reader, const uint8_t *bytes, int64_t pos, int64_t starts)
{
    if (reader->vbri_offset < 0) {
        int64_t at = MarkAmong(bytes, starts, VBRI);
        reader->vbri_offset = at < 0 ? -1 : pos + at;
    }
    reader->vbri_to = pos + starts;
}

// The offset of the first "Xing" in the searched quarter, or -1.
static int64_t XingFind(Mp3FileReader *reader, int64_t from)
{
    int64_t limit = reader->size / 4;
    reader->vbri_from = reader->vbri_to = from;
    reader->vbri_offset = -1;
    for (int64_t pos = from; pos < limit;) {
        const uint8_t *bytes = nullptr;
        int64_t starts = StartsAtHand(reader, pos, limit, &bytes);
        if (starts == 0) {
            pos = Mp3NextReadable(reader, pos, limit);
            continue;
        }
        int64_t at = MarkAmong(bytes, starts, XING);
        VbriNote(reader, bytes, pos, at < 0 ? starts : at);
        if (at >= 0)
            return pos + at;
        pos += starts;
    }
    reader->vbri_to = std::max(from, limit);
    return -1;
}

// The same for "VBRI", on from where the search for Xing ended.
static int64_t VbriFind(Mp3FileReader *reader, int64_t from)
{
    int64_t limit = reader->size / 4;
    if (reader->vbri_from != from || reader->vbri_to <= from) {
        reader->vbri_from = reader->vbri_to = from;
        reader->vbri_offset = -1;
    }
    while (reader->vbri_offset < 0 && reader->vbri_to < limit) {
        const uint8_t *bytes = nullptr;
        int64_t pos = reader->vbri_to;
        int64_t starts = StartsAtHand(reader, pos, limit, &bytes);
        if (starts == 0)
            reader->vbri_to = Mp3NextReadable(reader, pos, limit);
        else
            VbriNote(reader, bytes, pos, starts);
    }
    return reader->vbri_offset;
}

// Seconds; kept in `info` when it is plausible, returned in any case.
static double DurationRefine(MpegAudioInfo *info, uint32_t frames)
{
    int samples = SAMPLES_PER_FRAME[info->version == 1 ? 0 : 1][info->layer - 1];
    double duration = static_cast<double>(frames) * samples / info->sample_rate;
    if (duration > 0 && duration < DURATION_LIMIT)
        info->duration = duration;
    return duration;
}

static void BitrateRefine(MpegAudioInfo *info, uint32_t bytes, double duration)
{
    double bitrate = bytes / duration * 8.0;
    if (bitrate >= 1)
        info->bitrate = bitrate >= INT_MAX ? INT_MAX : static_cast<int>(bitrate);
}

int MpegXingRead(Mp3FileReader *reader, int64_t frame_offset, MpegAudioInfo *info)
{
    if (!IsInfoUsable(info))
        return -1;
    int64_t mark = XingFind(reader, frame_offset);
    if (mark < 0)
        return -1;
    int flags = Mp3ReadByte(reader, mark + 7);
    if (!(flags & 1))
        return -1;
    double duration = DurationRefine(info, Mp3ReadUInt32BE(reader, mark + 8));
    if (!(flags & 2) || duration <= 0)
        return 0;
    BitrateRefine(info, Mp3ReadUInt32BE(reader, mark + 12), duration);
    return 0;
}

int MpegVbriRead(Mp3FileReader *reader, int64_t frame_offset, MpegAudioInfo *info)
{
    if (!IsInfoUsable(info))
        return -1;
    int64_t mark = VbriFind(reader, frame_offset);
    if (mark < 0)
        return -1;
    double duration = DurationRefine(info, Mp3ReadUInt32BE(reader, mark + 14));
    uint32_t bytes = Mp3ReadUInt32BE(reader, mark + 10);
    if (duration > 0)
        BitrateRefine(info, bytes, duration);
    return 0;
}
