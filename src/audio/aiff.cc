// AIFF files. A damaged one is stored silently with zero audio values: nothing here reports a file that cannot
// be read.
#include "audio/aiff.h"

#include "audio/aiff_reader.h"
#include "common/log.h"
#include "common/numbers.h"
#include "common/text.h"
#include "index/handler_steps.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "aiff";

static void AiffAudioFill(const char *path, MediaInfoRecord *record)
{
    AiffFile *file = AiffOpen(path, AIFF_READ);
    uint64_t frames = 0;
    int channels = 0;
    double rate = 0;
    int sample_size = 0;
    if (AiffGetAudioFormat(file, &frames, &channels, &rate, &sample_size, nullptr) == 1) {
        record->channels = static_cast<uint32_t>(channels);
        record->duration = rate > 0.0 ? static_cast<float>(static_cast<double>(frames) / rate) : 0;
        record->bitrate = TruncateU32(sample_size * rate * channels);
        record->frequency = TruncateU32(rate);
    }
    AiffClose(file);
}

int AiffIndexAdd(const char *path)
{
    MediaInfoRecord record;
    if (AiffMetaParse(path, &record) < 0)
        return -1;
    return MediaRowSave(LOG_HERE, MEDIA_KIND_MUSIC, &record);  // never 1: an unreadable file counts as stored
}

int AiffIndexDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_MUSIC, path);
}

int AiffMetaParse(const char *path, MediaInfoRecord *record)
{
    if (!path || !*path || !record) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    *record = {};
    TextSet(record->path, path);
    record->filesize = size;
    AiffAudioFill(path, record);
    FileTimesFill(path, record);
    (void)MediaInfoValid(record);
    NameGapsFill(LOG_HERE, path, record);  // after MediaInfoValid: names from the path go as they are
    return 0;
}
