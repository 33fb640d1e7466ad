// Photo share and recycle bin are recognised by their place in the path.
#include "index/share_path.h"

#include <string.h>
#include <strings.h>
#include <unistd.h>

static constexpr size_t SHARE_SLASH = 8;  // behind "/volume1": the volume number has one digit
static constexpr char PHOTO_SHARE[] = "photo";
static constexpr char RECYCLE_BIN[] = "#recycle";

bool IsPhotoSharePath(const char *path)
{
    static constexpr size_t name_length = sizeof PHOTO_SHARE - 1;
    if (!path || strlen(path) <= SHARE_SLASH + 1)
        return false;
    if (path[SHARE_SLASH] != '/')
        return false;
    const char *name = path + SHARE_SLASH + 1;
    if (strncasecmp(name, PHOTO_SHARE, name_length) != 0)
        return false;
    return name[name_length] == '/' || name[name_length] == '\0';
}

bool IsRecycleBinPath(const char *path)
{
    static constexpr size_t name_length = sizeof RECYCLE_BIN - 1;
    for (int slashes = 0; slashes < 3; slashes++) {
        path = path ? strchr(path, '/') : nullptr;
        if (!path)
            return false;
        path++;
    }
    if (strncmp(path, RECYCLE_BIN, name_length) != 0)
        return false;
    return path[name_length] == '/' || path[name_length] == '\0';
}

int ShareLinkRead(const char *link, char (&target)[4096])
{
    memset(target, 0, sizeof target);
    return readlink(link, target, sizeof target - 1) < 0 ? -1 : 0;
}
