// A sample entry is a header of fixed fields, different for sound and pictures, and then atoms; one of them may be
// the elementary-stream descriptor, which is a tree of tagged and sized records of its own.
#include "audio/mp4_sample_entry.h"

#include <string.h>

#include <span>

#include "common/byte_order.h"

static constexpr size_t SOUND_CHANNELS_AT = 24;
static constexpr size_t SOUND_VERSION_AT = 16;
static constexpr size_t SOUND_HEADER_SIZE = 36;  // 16 more in version 1, 36 more in version 2
static constexpr size_t VIDEO_SIZE_AT = 32;
static constexpr size_t VIDEO_HEADER_SIZE = 86;

static constexpr uint8_t ES_DESCRIPTOR = 3;
static constexpr uint8_t DECODER_CONFIG_DESCRIPTOR = 4;

using ByteSpan = std::span<const uint8_t>;  // the bytes that are left to read

static bool SpanSkip(ByteSpan *span, size_t count)
{
    if (span->size() < count)
        return false;
    *span = span->subspan(count);
    return true;
}

// Enters the descriptor `tag`. Its length is 7 bits a byte, at most four of them; it bounds nothing here, because
// every read is bounded by the atom.
static bool DescriptorEnter(ByteSpan *span, uint8_t tag)
{
    if (span->empty() || span->front() != tag)
        return false;
    (void)SpanSkip(span, 1);
    for (int i = 0; i < 4 && !span->empty(); i++) {
        bool is_last = (span->front() & 0x80) == 0;
        (void)SpanSkip(span, 1);
        if (is_last)
            return true;
    }
    return !span->empty();
}

// Stream number and flags, then what the flags announce.
static bool EsHeaderSkip(ByteSpan *span)
{
    if (span->size() < 3)
        return false;
    uint8_t flags = (*span)[2];
    (void)SpanSkip(span, 3);
    if ((flags & 0x80) != 0 && !SpanSkip(span, 2))
        return false;
    if ((flags & 0x40) != 0 && (span->empty() || !SpanSkip(span, size_t{1} + span->front())))
        return false;
    return (flags & 0x20) == 0 || SpanSkip(span, 2);
}

static uint32_t EsdsBitrate(ByteSpan span)
{
    static constexpr size_t AVERAGE_AT = 9;  // behind type, stream type, buffer size and maximum
    bool is_there = SpanSkip(&span, 4) && DescriptorEnter(&span, ES_DESCRIPTOR) && EsHeaderSkip(&span) &&
                    DescriptorEnter(&span, DECODER_CONFIG_DESCRIPTOR) && span.size() >= AVERAGE_AT + 4;
    return is_there ? BigEndian32(&span[AVERAGE_AT]) : 0;
}

// The contents of the first atom `name` among those in `span`; empty when there is none.
static ByteSpan AtomFind(ByteSpan span, const char *name)
{
    while (span.size() >= 8) {
        size_t length = BigEndian32(span.data());
        if (length < 8 || length > span.size())
            break;
        if (memcmp(&span[4], name, 4) == 0)
            return span.subspan(8, length - 8);
        (void)SpanSkip(&span, length);
    }
    return {};
}

static size_t SoundHeaderSize(const uint8_t *bytes)
{
    switch (BigEndian16(bytes + SOUND_VERSION_AT)) {
    case 1:
        return SOUND_HEADER_SIZE + 16;
    case 2:
        return SOUND_HEADER_SIZE + 36;
    default:
        return SOUND_HEADER_SIZE;
    }
}

Mp4SampleEntry Mp4SampleEntryRead(const uint8_t *bytes, size_t size, const char *handler_type)
{
    Mp4SampleEntry entry = {-1, 0, 0, 0};
    size_t header_size = 0;
    if (strcmp(handler_type, "soun") == 0 && size >= SOUND_HEADER_SIZE) {
        entry.channels = BigEndian16(bytes + SOUND_CHANNELS_AT);
        header_size = SoundHeaderSize(bytes);
    } else if (strcmp(handler_type, "vide") == 0 && size >= VIDEO_HEADER_SIZE) {
        entry.width = BigEndian16(bytes + VIDEO_SIZE_AT);
        entry.height = BigEndian16(bytes + VIDEO_SIZE_AT + 2);
        header_size = VIDEO_HEADER_SIZE;
    }
    ByteSpan atoms = {bytes, size};
    if (header_size != 0 && SpanSkip(&atoms, header_size))
        entry.bitrate = EsdsBitrate(AtomFind(atoms, "esds"));
    return entry;
}
