// Dispatch of one path to its format handler.
#include "index/index_file.h"

#include <string.h>

#include "common/log.h"
#include "index/handler_table.h"
#include "index/index_modes.h"
#include "index/media_record.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "index_file";

// The event that tells the user which file could not be read.
static constexpr int EVENT_CLASS_INDEX = 2;
static constexpr int EVENT_LEVEL_ERROR = 3;
static constexpr unsigned EVENT_PARSE_FAILED = 0x11B00510;

static constexpr char RESOURCE_FORK_PREFIX[] = "._";  // companions that other systems leave beside files

static int DirectoryUpdate(const char *path, int mode)
{
    switch (mode) {
    case INDEX_MODE_ADD:
        (void)DirectoryInfoSave(path);  // reported there; the files below are what counts
        return 0;
    case INDEX_MODE_DELETE:
        return 0;
    default:
        LogParen(LOG_HERE, "Bad mode(%d)!! This should never happen.", mode);
        return -1;
    }
}

static int FileAdd(const IndexHandler *handler, const char *path)
{
    const char *slash = strrchr(path, '/');
    if (!slash)
        return -1;
    if (strncmp(slash + 1, RESOURCE_FORK_PREFIX, sizeof RESOURCE_FORK_PREFIX - 1) == 0)
        return -1;

    int result = handler->add(path);
    if (result != 1)
        return result;
    LogColon(LOG_HERE, "Failed to parse media metadata of file [%s].", path);
    (void)NUBOLogSet1(EVENT_CLASS_INDEX, EVENT_LEVEL_ERROR, EVENT_PARSE_FAILED, path, "", "", "");
    return -1;
}

int IndexFileUpdate(const char *path, int mode)
{
    if (!path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (mode != INDEX_MODE_ADD && mode != INDEX_MODE_DELETE) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    if (IsDirExist(path))
        return DirectoryUpdate(path, mode);

    const char *ext = NUBOIndexExtGet(path);
    if (!ext)
        return -1;
    const IndexHandler *handler = IndexHandlerFind(ext);
    if (!handler)
        return 0;

    switch (mode) {
    case INDEX_MODE_DELETE:
        return handler->del(path);
    case INDEX_MODE_ADD:
        return FileAdd(handler, path);
    default:
        LogParen(LOG_HERE, "Bad mode!! This should never happen.");
        return -1;
    }
}
