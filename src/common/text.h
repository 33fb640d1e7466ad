// Bounded text copies: a longer text is cut, never refused, and the result always ends in a NUL.
#pragma once

#include <stddef.h>
#include <string.h>

// Copies `src` into a buffer of `size` bytes (above 0), cut at size - 1.
inline void TextCopy(char *dst, size_t size, const char *src)
{
    size_t length = strlen(src);
    if (length > size - 1)
        length = size - 1;
    memcpy(dst, src, length);
    dst[length] = '\0';
}

// The same for a text field of known size.
template <size_t size>
inline void TextSet(char (&field)[size], const char *text)
{
    TextCopy(field, size, text);
}

// Adds "/name" to the path in a buffer of `size` bytes, cut at size - 1.
void PathAppend(char *path, size_t size, const char *name);

// Builds "dir/name" in a buffer of `size` bytes, cut at size - 1.
void PathJoin(char *out, size_t size, const char *dir, const char *name);
