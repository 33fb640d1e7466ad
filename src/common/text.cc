// Text that is put together from pieces.
#include "common/text.h"

void PathJoin(char *out, size_t size, const char *dir, const char *name)
{
    TextCopy(out, size, dir);
    size_t length = strlen(out);
    TextCopy(out + length, size - length, "/");
    length = strlen(out);
    TextCopy(out + length, size - length, name);
}
