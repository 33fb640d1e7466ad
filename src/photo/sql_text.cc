// Escaping and bounded formatting of SQL.
#include "photo/sql_text.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "platform/db_access.h"

static char *BufferNew(LogSite at, size_t size)
{
    char *buffer = static_cast<char *>(calloc(1, size));
    if (!buffer)
        LogParen(at, "Failed to malloc(%d)", static_cast<int>(size));
    return buffer;
}

static char *EscapeFailed(LogSite at, char *buffer)
{
    LogParen(at, "Failed to escape condition.");
    free(buffer);
    return nullptr;
}

char *SqlLiteral(LogSite at, const char *text)
{
    size_t length = strlen(text);
    char *literal = BufferNew(at, 2 * length + 1);
    if (literal && NUBODBEscapeString(literal, text, static_cast<int>(length)) == -1)
        return EscapeFailed(at, literal);
    return literal;
}

char *SqlPattern(LogSite at, const char *literal)
{
    size_t size = 3 * strlen(literal) + 1;
    char *pattern = BufferNew(at, size);
    if (pattern && NUBODBEscapeBackslash(pattern, static_cast<int>(size), literal) == -1)
        return EscapeFailed(at, pattern);
    return pattern;
}

// Leaves a cut text with an open literal. Without this, a cut between the halves of a doubled quote, or right
// behind a literal, would end in a complete statement without its "where".
static void LiteralKeepOpen(char *text)
{
    int quotes = 0;
    char *last = nullptr;
    for (char *c = text; *c; c++) {
        if (*c != '\'')
            continue;
        quotes++;
        last = c;
    }
    if (last && quotes % 2 == 0)
        *last = '\0';
}

[[gnu::format(printf, 3, 0)]] static void FormatBounded(char *out, size_t size, const char *format,
                                                        va_list args)
{
    int length = vsnprintf(out, size, format, args);
    if (length < 0)
        *out = '\0';
    else if (static_cast<size_t>(length) >= size)
        LiteralKeepOpen(out);
}

void SqlFormat(char *out, size_t size, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    FormatBounded(out, size, format, args);
    va_end(args);
}

char *SqlPrint(LogSite at, size_t size, const char *format, ...)
{
    char *out = BufferNew(at, size);
    if (!out)
        return nullptr;
    va_list args;
    va_start(args, format);
    FormatBounded(out, size, format, args);
    va_end(args);
    return out;
}

bool SqlPathCondition(LogSite at, const char *path, const char *tail, char (&condition)[4096])
{
    char *literal = SqlLiteral(at, path);
    char *pattern = literal ? SqlPattern(at, literal) : nullptr;
    if (pattern)
        SqlFormat(condition, sizeof condition, "path like '%s%s%%'", pattern, tail);
    bool made = pattern != nullptr;
    free(pattern);
    free(literal);
    return made;
}
