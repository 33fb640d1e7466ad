// FORM header, walk to the common chunk, its four fields and the compression type. All integers are big-endian.
#include "audio/aiff_reader.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "common/byte_order.h"
#include "common/regular_file.h"

static constexpr uint32_t COMMON_LENGTH = 18;      // the shortest common chunk
static constexpr uint32_t COMPRESSED_LENGTH = 22;  // with a compression type
static constexpr int EXTENDED_EXPONENT_BIAS = 16383;

struct AiffChunk {
    char id[4];
    uint32_t length;
};

// Compression types that decode to a sample size of their own. All others, known or not, keep the size of the
// common chunk.
static constexpr struct {
    char type[5];
    int sample_size;
    int bytes_per_sample;
} AIFF_COMPRESSIONS[] = {
    {"ULAW", 14, 2}, {"ulaw", 14, 2}, {"ALAW", 13, 2}, {"alaw", 13, 2}, {"FL32", 32, 4}, {"fl32", 32, 4},
};

static bool IsId(const uint8_t *bytes, const char *id)
{
    return memcmp(bytes, id, 4) == 0;
}

static bool AiffBytesRead(FILE *stream, uint8_t *bytes, size_t count)
{
    return fread(bytes, 1, count, stream) == count;
}

// 80-bit extended precision: sign, 15 bits of exponent, 64 bits of mantissa with its integer bit.
static double ExtendedToDouble(const uint8_t *bytes)
{
    bool is_negative = (bytes[0] & 0x80) != 0;
    int exponent = BigEndian16(bytes) & 0x7FFF;
    uint32_t high = BigEndian32(bytes + 2);
    uint32_t low = BigEndian32(bytes + 6);

    double value = 0;
    if (exponent == 0x7FFF)
        value = INFINITY;
    else if (exponent != 0 || high != 0 || low != 0)
        value = ldexp(high, exponent - EXTENDED_EXPONENT_BIAS - 31) +
                ldexp(low, exponent - EXTENDED_EXPONENT_BIAS - 63);
    return is_negative ? -value : value;
}

// Short chunks are read over: a seek is a call to the kernel each, and a file may hold nothing else.
static bool AiffBytesSkip(FILE *stream, int64_t count)
{
    uint8_t skipped[4096];
    if (count > static_cast<int64_t>(sizeof skipped))
        return fseeko(stream, count, SEEK_CUR) == 0;
    return AiffBytesRead(stream, skipped, static_cast<size_t>(count));
}

// Stands at the data of the first chunk `id` when it answers true.
static bool AiffChunkFind(FILE *stream, const char *id, AiffChunk *chunk)
{
    if (fseeko(stream, 12, SEEK_SET) != 0)
        return false;
    uint8_t header[8];
    while (AiffBytesRead(stream, header, sizeof header)) {
        memcpy(chunk->id, header, sizeof chunk->id);
        chunk->length = BigEndian32(header + 4);
        if (IsId(header, id))
            return true;
        int64_t padded = static_cast<int64_t>(chunk->length) + chunk->length % 2;
        if (!AiffBytesSkip(stream, padded))
            return false;
    }
    return false;
}

static void AiffCompressionApply(const uint8_t *type, AiffAudioFormat *format)
{
    for (const auto &row : AIFF_COMPRESSIONS) {
        if (IsId(type, row.type)) {
            format->sample_size = row.sample_size;
            format->bytes_per_sample = row.bytes_per_sample;
        }
    }
}

static bool AiffCommonRead(FILE *stream, bool is_compressed_form, AiffAudioFormat *format)
{
    AiffChunk chunk;
    if (!AiffChunkFind(stream, "COMM", &chunk) || chunk.length < COMMON_LENGTH)
        return false;
    uint8_t data[COMPRESSED_LENGTH];
    bool has_compression = is_compressed_form && chunk.length >= COMPRESSED_LENGTH;
    if (!AiffBytesRead(stream, data, has_compression ? COMPRESSED_LENGTH : COMMON_LENGTH))
        return false;

    format->channels = BigEndian16(data);
    format->frames = BigEndian32(data + 2);
    format->sample_size = BigEndian16(data + 6);
    format->rate = ExtendedToDouble(data + 8);
    format->bytes_per_sample = (format->sample_size + 7) / 8;
    if (has_compression)
        AiffCompressionApply(data + COMMON_LENGTH, format);
    return true;
}

static bool AiffHeaderRead(FILE *stream, AiffAudioFormat *format)
{
    uint8_t header[12];
    if (!AiffBytesRead(stream, header, sizeof header))
        return false;
    bool is_aifc = IsId(header + 8, "AIFC");
    if (!IsId(header, "FORM") || BigEndian32(header + 4) == 0 || (!is_aifc && !IsId(header + 8, "AIFF")))
        return false;
    return AiffCommonRead(stream, is_aifc, format);
}

AiffFile *AiffOpen(const char *path, AiffMode mode)
{
    if (!path || mode != AIFF_READ)
        return nullptr;
    AiffFile *file = static_cast<AiffFile *>(calloc(1, sizeof *file));
    if (!file)
        return nullptr;
    file->mode = mode;
    file->stream = RegularFileOpen(path);
    if (file->stream && AiffHeaderRead(file->stream, &file->format))
        return file;
    AiffClose(file);
    return nullptr;
}

int AiffGetAudioFormat(const AiffFile *file, uint64_t *frames, int *channels, double *rate, int *sample_size,
                       int *bytes_per_sample)
{
    if (!file || file->mode != AIFF_READ)
        return -1;
    if (frames)
        *frames = file->format.frames;
    if (channels)
        *channels = file->format.channels;
    if (rate)
        *rate = file->format.rate;
    if (sample_size)
        *sample_size = file->format.sample_size;
    if (bytes_per_sample)
        *bytes_per_sample = file->format.bytes_per_sample;
    return 1;
}

void AiffClose(AiffFile *file)
{
    if (!file)
        return;
    if (file->stream)
        fclose(file->stream);
    free(file);
}
