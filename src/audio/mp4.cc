// MP4 music files: the MP4 library first, then the probe, whose audio values win where it has any.
#include "audio/mp4.h"

#include "audio/mp4_tags.h"
#include "common/log.h"
#include "common/text.h"
#include "index/handler_steps.h"
#include "platform/media_index.h"
#include "platform/sdk.h"
#include "video/probe.h"

static constexpr char LOG_MODULE[] = "mp4";

static void Mp4ProbeFill(const char *path, MediaInfoRecord *record)
{
    MediaInfoRecord probed = {};
    if (MediaProbeRun(path, &probed) != 0)
        return;
    if (probed.bitrate != 0)
        record->bitrate = probed.bitrate;
    if (probed.channels > 0)
        record->channels = probed.channels;
    if (probed.duration > 0.0f)
        record->duration = probed.duration;
    if (probed.frequency > 0)
        record->frequency = probed.frequency;
}

int Mp4IndexAdd(const char *path)
{
    MediaInfoRecord record;
    int result = Mp4MetaParse(path, &record);
    if (result != 0 && result != 1)
        return -1;
    Mp4ProbeFill(path, &record);
    (void)MediaRowSave(LOG_HERE, MEDIA_KIND_MUSIC, &record);  // a failed save does not change the answer
    return result;
}

int Mp4IndexDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_MUSIC, path);
}

int Mp4MetaParse(const char *path, MediaInfoRecord *record)
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
    bool is_read = Mp4ReadTags(path, record) >= 0;
    if (!is_read)
        LogParen(LOG_HERE, "Failed to parse mp4 metadata.");
    FileTimesFill(path, record);
    (void)MediaInfoValid(record);
    NameGapsFill(LOG_HERE, path, record);  // after MediaInfoValid: names from the path go as they are
    return is_read ? 0 : 1;
}
