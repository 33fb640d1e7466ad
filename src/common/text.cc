// Text that is put together from pieces.
#include "common/text.h"

void PathAppend(char *path, size_t size, const char *name)
{
    size_t length = strlen(path);
    TextCopy(path + length, size - length, "/");
    length = strlen(path);
    TextCopy(path + length, size - length, name);
}

void PathJoin(char *out, size_t size, const char *dir, const char *name)
{
    TextCopy(out, size, dir);
    PathAppend(out, size, name);
}
