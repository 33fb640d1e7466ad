// Title and album from a path. Every handler starts with these and lets tags replace them.
#include "index/name_defaults.h"

#include <string.h>

#include "common/text.h"

const char *FileNameOf(const char *path)
{
    const char *slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

void TitleFromPath(const char *path, char *title, size_t size)
{
    TextCopy(title, size, FileNameOf(path));
    char *dot = strrchr(title, '.');
    if (dot)
        *dot = '\0';
}

bool AlbumFromPath(const char *path, char *album, size_t size)
{
    const char *end = strrchr(path, '/');
    if (!end || end == path)
        return true;
    const char *start = end - 1;
    while (start > path && *start != '/')
        start--;
    if (*start != '/')
        return true;  // a relative path with one slash

    // The copy runs on into the file name, so its last "/" is the one before it, unless the bound cut the
    // folder name short.
    TextCopy(album, size, start + 1);
    char *slash = strrchr(album, '/');
    if (!slash)
        return false;
    *slash = '\0';
    return true;
}
