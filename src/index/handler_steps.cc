// Shared steps of the format handlers.
#include "index/handler_steps.h"

#include "platform/media_index.h"
#include "platform/sdk.h"

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
