// Handlers of video CD files.
#include "video/video.h"

#include "common/log.h"
#include "index/handler_steps.h"
#include "platform/media_index.h"
#include "platform/sdk.h"
#include "video/metavideo.h"

static constexpr char LOG_MODULE[] = "video";

int VideoIndexAdd(const char *path)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    MediaInfoRecord record = {};
    NameDefaultsFill(LOG_HERE, path, size, &record);
    bool is_read = VideoMetaParse(path, &record) == 0;
    if (!is_read)
        LogParen(LOG_HERE, "Failed to parse dat metadata.");
    FileTimesFill(path, &record);
    (void)MediaInfoValid(&record);
    int saved = MediaRowSave(LOG_HERE, MEDIA_KIND_VIDEO, &record);
    return is_read ? saved : 1;  // 1 even when the save failed
}

int VideoIndexDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_VIDEO, path);
}
