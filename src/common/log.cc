// The real log: one syslog call a message.
#include "common/log.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>

// The longest message names two paths of 4095 bytes.
static constexpr int LOG_TEXT_MAX = 16384;

[[gnu::format(printf, 1, 0)]] static void Send(const char *format, const char *prefix, va_list args)
{
    int saved_errno = errno;
    char text[LOG_TEXT_MAX];
    vsnprintf(text, sizeof text, format, args);
    syslog(LOG_ERR, "%s%s", prefix, text);
    errno = saved_errno;
}

static constexpr int LOG_PREFIX_MAX = 128;

void LogParen(LogSite at, const char *format, ...)
{
    char prefix[LOG_PREFIX_MAX];
    snprintf(prefix, sizeof prefix, "%s (%d) ", at.module, at.line);
    va_list args;
    va_start(args, format);
    Send(format, prefix, args);
    va_end(args);
}

void LogColon(LogSite at, const char *format, ...)
{
    char prefix[LOG_PREFIX_MAX];
    snprintf(prefix, sizeof prefix, "%s:%d ", at.module, at.line);
    va_list args;
    va_start(args, format);
    Send(format, prefix, args);
    va_end(args);
}

void LogCall(LogSite at, const char *format, ...)
{
    char prefix[LOG_PREFIX_MAX];
    snprintf(prefix, sizeof prefix, "%s(%d): ", at.module, at.line);
    va_list args;
    va_start(args, format);
    Send(format, prefix, args);
    va_end(args);
}

void LogPlain(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Send(format, "", args);
    va_end(args);
}
