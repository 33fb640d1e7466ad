// Six handlers on one pattern: defaults, for most a probe, cleaning, save.
#include "video/media_handlers.h"

#include "common/log.h"
#include "index/handler_steps.h"
#include "index/media_record.h"
#include "platform/media_index.h"
#include "platform/sdk.h"
#include "video/probe.h"

static constexpr char LOG_MODULE[] = "media_handlers";

// Saves a probed record; `result` is 1 after a failed probe, else -1. A failed save keeps it as it stands, so
// a failed probe followed by a failed save still answers 1.
static int ProbedRecordSave(LogSite at, int kind, MediaInfoRecord *record, int result)
{
    (void)MediaInfoValid(record);
    if (MediaInfoDBSave(kind, record) != 0) {
        LogParen(at, "Failed to save media info to database.");
        return result;
    }
    return result == 1 ? 1 : 0;
}

// Lists a file by its name, size and times. 0 or -1.
static int UnreadFileAdd(LogSite at, int kind, const char *path)
{
    if (!path || !*path) {
        LogColon(at, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    MediaInfoRecord record = {};
    if (MediaInfoCommonFill(path, &record) == -1)
        return -1;
    (void)MediaInfoValid(&record);
    if (MediaInfoDBSave(kind, &record) != 0) {
        LogColon(at, "Failed to save media info to database.");
        return -1;
    }
    return 0;
}

int MediaAudioAdd(const char *path)
{
    int result = -1;
    uint64_t size = 0;
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (!IsFileExist(path, &size))
        return -1;
    MediaInfoRecord record = {};
    if (MediaInfoCommonFill(path, &record) == -1)
        return -1;
    if (MediaProbeRun(record.path, &record) != 0) {
        LogColon(LOG_HERE, "Failed to parse music metadata from file [%s].", path);
        result = 1;
    }
    return ProbedRecordSave(LOG_HERE, MEDIA_KIND_MUSIC, &record, result);
}

int MediaVideoAdd(const char *path)
{
    int result = -1;
    uint64_t size = 0;
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (!IsFileExist(path, &size))
        return -1;
    MediaInfoRecord record = {};
    if (MediaInfoCommonFill(path, &record) == -1)
        return -1;
    if (MediaProbeRun(path, &record) != 0) {
        LogParen(LOG_HERE, "Failed to parse media metadata from file [%s].", path);
        result = 1;
    }
    return ProbedRecordSave(LOG_HERE, MEDIA_KIND_VIDEO, &record, result);
}

int MediaPcmAdd(const char *path)
{
    return UnreadFileAdd(LOG_HERE, MEDIA_KIND_MUSIC, path);
}

int MediaVideoFileAdd(const char *path)
{
    return UnreadFileAdd(LOG_HERE, MEDIA_KIND_VIDEO, path);
}

int MediaAudioDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_MUSIC, path);
}

int MediaVideoDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_VIDEO, path);
}
