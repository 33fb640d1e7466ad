// SQL as the photo side composes it: values escaped into buffers of the right size, statements cut to their
// buffer without changing their meaning. What allocates returns malloc'ed text, which the caller frees, or null
// after a message at the caller's place.
#pragma once

#include <stddef.h>

#include "common/log.h"

// `text` for the inside of a '...' literal.
char *SqlLiteral(LogSite at, const char *text);

// An escaped literal once more, for the inside of a '...' behind `like`. Only backslashes are cared for: "%" and
// "_" keep their meaning there, so that a pattern may match more than the name it was made of.
char *SqlPattern(LogSite at, const char *literal);

// Formats into a buffer of `size` bytes. A text that does not fit is cut, and cut further when its quotes pair up:
// a statement that lost its condition must not be one that the database accepts.
[[gnu::format(printf, 3, 4)]] void SqlFormat(char *out, size_t size, const char *format, ...);

// The same into a new buffer.
[[gnu::format(printf, 3, 4)]] char *SqlPrint(LogSite at, size_t size, const char *format, ...);

// "path like 'PATH TAIL%'" for the unescaped path, its special bytes escaped. False after a message.
bool SqlPathCondition(LogSite at, const char *path, const char *tail, char (&condition)[4096]);
