// What is there at a path, and where descriptions of a file are kept.
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "nlib/exported.h"

int BlNLIBFileExist(const char *path)
{
    return path && access(path, F_OK) == 0;
}

int IsFileExist(const char *path, uint64_t *size)
{
    struct stat status;
    if (!path || stat(path, &status) < 0 || S_ISDIR(status.st_mode))
        return 0;
    if (size)
        *size = static_cast<uint64_t>(status.st_size);
    return 1;
}

int IsDirExist(const char *path)
{
    struct stat status;
    return path && stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// "/a/b.jpg" and "NUBOPHOTO:TITLE" give "/a/@eaDir/b.jpg@NUBOPHOTO.TITLE": the colon of a key would be lost on
// shares that Windows mounts. A key holds no "@", so the last one of the name ends the file's own name.
int NUBOEAPath(const char *path, const char *key, char *out, int size)
{
    if (!path || !key || !out || size <= 0)
        return -1;
    out[0] = '\0';
    if (!key[0] || strpbrk(key, "@/"))
        return -1;
    size_t end = strlen(path);
    while (end > 0 && path[end - 1] == '/')
        end--;
    size_t name = end;
    while (name > 0 && path[name - 1] != '/')
        name--;
    if (name == end)
        return -1;  // no name: empty, or the root

    int length = snprintf(out, static_cast<size_t>(size), "%.*s@eaDir/%.*s@%s", static_cast<int>(name), path,
                          static_cast<int>(end - name), path + name, key);
    if (length < 0 || length >= size) {
        out[0] = '\0';
        return -1;
    }
    for (char *colon = strchr(out + (length - static_cast<int>(strlen(key))), ':'); colon;
         colon = strchr(colon, ':'))
        *colon = '.';
    return 0;
}
