// Everything that is declared and not built yet answers here, with a message and a failure: no row is written
// for a format without its reader. A piece that gets built leaves this file; the last one deletes it.
#include "common/log.h"
#include "video/video.h"

static constexpr char LOG_MODULE[] = "not_built_yet";

static int NotBuiltYet(const char *operation, const char *path)
{
    LogParen(LOG_HERE, "%s is not built yet [%s].", operation, path ? path : "");
    return -1;
}

// clang-format off

int VideoIndexAdd(const char *path) { return NotBuiltYet(__func__, path); }
int VideoIndexDelete(const char *path) { return NotBuiltYet(__func__, path); }

