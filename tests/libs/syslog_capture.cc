// The two names under which the C library's headers call syslog, the second with _FORTIFY_SOURCE.
#include "libs/syslog_capture.h"

#include <stdarg.h>
#include <stdio.h>

std::vector<std::string> syslog_lines;

static void Keep(const char *format, va_list args)
{
    char text[8192];
    vsnprintf(text, sizeof text, format, args);
    syslog_lines.emplace_back(text);
}

extern "C" void syslog(int, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Keep(format, args);
    va_end(args);
}

extern "C" void __syslog_chk(int, int, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Keep(format, args);
    va_end(args);
}
