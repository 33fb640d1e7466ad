// The log functions of common/log.h, writing into log_lines.
#include "support/log_capture.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdio.h>

#include "common/log.h"

std::vector<std::string> log_lines;

[[gnu::format(printf, 2, 0)]] static void Capture(const std::string &prefix, const char *format, va_list args)
{
    int saved_errno = errno;
    char text[16384];
    vsnprintf(text, sizeof text, format, args);
    log_lines.push_back(prefix + text);
    errno = saved_errno;
}

#define CAPTURE(prefix)                                                                                        \
    va_list args;                                                                                              \
    va_start(args, format);                                                                                    \
    Capture(prefix, format, args);                                                                             \
    va_end(args)

void LogParen(LogSite at, const char *format, ...)
{
    EXPECT_GT(at.line, 0);
    CAPTURE(std::string(at.module) + " (#) ");
}

void LogColon(LogSite at, const char *format, ...)
{
    EXPECT_GT(at.line, 0);
    CAPTURE(std::string(at.module) + ":# ");
}

void LogCall(LogSite at, const char *format, ...)
{
    EXPECT_GT(at.line, 0);
    CAPTURE(std::string(at.module) + "(#): ");
}

void LogPlain(const char *format, ...)
{
    CAPTURE("");
}
