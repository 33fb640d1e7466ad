// The log functions of common/log.h for programs that must not collect messages: fuzz targets and benchmarks.
// Messages are formatted, so that a bad argument shows, and dropped.
#include <stdarg.h>
#include <stdio.h>

#include "common/log.h"

#define DROP()                                                                                                 \
    char text[1024];                                                                                           \
    va_list args;                                                                                              \
    va_start(args, format);                                                                                    \
    vsnprintf(text, sizeof text, format, args);                                                                \
    va_end(args)

void LogParen(LogSite, const char *format, ...)
{
    DROP();
}

void LogColon(LogSite, const char *format, ...)
{
    DROP();
}

void LogCall(LogSite, const char *format, ...)
{
    DROP();
}

void LogPlain(const char *format, ...)
{
    DROP();
}
