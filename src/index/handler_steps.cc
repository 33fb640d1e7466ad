// Shared steps of the format handlers.
#include "index/handler_steps.h"

#include "common/text.h"
#include "index/name_defaults.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

void NameDefaultsFill(LogSite at, const char *path, uint64_t size, MediaInfoRecord *record)
{
    TextSet(record->path, path);
    record->filesize = size;
    NameGapsFill(at, path, record);
}

void NameGapsFill(LogSite at, const char *path, MediaInfoRecord *record)
{
    if (!record->title[0])
        TitleFromPath(path, record->title, sizeof record->title);
    if (!record->album[0] && !AlbumFromPath(path, record->album, sizeof record->album))
        LogParen(at, "Impossible error.");
}

void FileTimesFill(const char *path, MediaInfoRecord *record)
{
    (void)NUBOIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                                 sizeof record->modify_time);
}

int MediaRowSave(LogSite at, int kind, const MediaInfoRecord *record)
{
    if (MediaInfoDBSave(kind, record) == 0)
        return 0;
    LogParen(at, "Failed to save media info to database.");
    return -1;
}

int MediaRowForget(LogSite at, int kind, const char *path)
{
    if (IsFileExist(path, nullptr)) {
        LogParen(at, "File exists. Skip remove it from database.");
        return -1;
    }
    if (MediaInfoDBDelete(kind, path) != 0) {
        LogParen(at, "Failed to remove [%s] from database", path);
        return -1;
    }
    return 0;
}
