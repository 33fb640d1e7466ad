// The defaults of a media record, and folder rows.
#include "index/media_record.h"

#include "common/log.h"
#include "common/text.h"
#include "index/name_defaults.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "media_record";

int MediaInfoCommonFill(const char *path, MediaInfoRecord *record)
{
    if (!path || !*path || !record) {
        LogColon(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;

    TextSet(record->path, path);
    record->filesize = size;
    TitleFromPath(path, record->title, sizeof record->title);
    if (!AlbumFromPath(path, record->album, sizeof record->album))
        LogColon(LOG_HERE, "Impossible error.");
    (void)NUBOIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                                 sizeof record->modify_time);
    return 0;
}

int DirectoryInfoSave(const char *dir)
{
    if (!dir) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (!IsDirExist(dir))
        return -1;
    if (MediaInfoDBDirSave(dir) != 0) {
        LogParen(LOG_HERE, "Failed to save directory info to database.");
        return -1;
    }
    return 0;
}
