// MP3 files: rows of the music table. The defaults from the name are written before the file is read, and once
// more where a tag took them away.
#include "music/music.h"

#include <string.h>

#include <algorithm>

#include "common/log.h"
#include "common/text.h"
#include "index/handler_steps.h"
#include "index/media_record.h"
#include "index/name_defaults.h"
#include "music/metaid3.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "music";

// The file name without its last extension. The field is zeroed; a name with an extension may fill it whole,
// without a terminator.
static void TitleDefault(const char *path, char (&title)[sizeof(MediaInfoRecord::title)])
{
    const char *name = FileNameOf(path);
    const char *dot = strrchr(name, '.');
    if (dot)
        memcpy(title, name, std::min(static_cast<size_t>(dot - name), sizeof title));
    else
        TextSet(title, name);
}

// What is still empty after the tags were read.
static void DefaultsRestore(const char *path, MediaInfoRecord *record)
{
    if (!record->title[0]) {
        memset(record->title, 0, sizeof record->title);
        TitleDefault(path, record->title);
    }
    if (!record->album[0] && !AlbumFromPath(path, record->album, sizeof record->album))
        LogParen(LOG_HERE, "Impossible error.");
}

int MusicIndexAdd(const char *path)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;

    MediaInfoRecord record = {};
    TextSet(record.path, path);
    record.filesize = size;
    TitleDefault(path, record.title);
    int result = -1;
    if (Mp3MetaParse(path, &record) < 0) {
        LogParen(LOG_HERE, "Failed to parse music metadata.");
        result = 1;
    }
    (void)NUBOIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                                 sizeof record.modify_time);
    (void)MediaInfoValid(&record);
    DefaultsRestore(path, &record);
    if (MediaInfoDBSave(MEDIA_KIND_MUSIC, &record) != 0)
        LogParen(LOG_HERE, "Failed to save media info to database.");
    else if (result != 1)
        result = 0;
    return result;  // 1 after a failed parse, whether the row was stored or not
}

int MusicIndexDelete(const char *path)
{
    return MediaRowForget(LOG_HERE, MEDIA_KIND_MUSIC, path);
}
