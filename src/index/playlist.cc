// The playlist handlers fill their record themselves: the times are ctime texts with their line feed, and the
// record goes to the database as it stands, without MediaInfoValid.
#include "index/playlist.h"

#include <sys/stat.h>
#include <time.h>

#include "common/log.h"
#include "common/text.h"
#include "index/media_record.h"
#include "index/name_defaults.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "playlist";

template <size_t size>
static void TimeTextSet(char (&field)[size], time_t when)
{
    char text[64];
    if (ctime_r(&when, text))  // fails for years of more than four digits
        TextSet(field, text);
}

int PlaylistAdd(const char *path)
{
    if (!path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;

    MediaInfoRecord record = {};
    TextSet(record.path, path);
    record.filesize = static_cast<uint64_t>(status.st_size);
    TimeTextSet(record.create_time, status.st_ctime);
    TimeTextSet(record.modify_time, status.st_mtime);
    TitleFromPath(path, record.title, sizeof record.title);
    if (!AlbumFromPath(path, record.album, sizeof record.album))
        LogParen(LOG_HERE, "Impossible error.");

    if (MediaInfoDBSave(MEDIA_KIND_PLAYLIST, &record) != 0) {
        LogParen(LOG_HERE, "Failed to save playlist info.");
        return -1;
    }
    return 0;
}

int PlaylistDelete(const char *path)
{
    if (IsFileExist(path, nullptr)) {
        LogParen(LOG_HERE, "File exists. Skip remove it from database.");
        return -1;
    }
    if (MediaInfoDBDelete(MEDIA_KIND_PLAYLIST, path) != 0)
        LogParen(LOG_HERE, "Failed to remove %s from database.", path);
    return 0;  // the file is gone, and that is what was asked
}
