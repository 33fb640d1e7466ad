// What reaches syslog. Linked with the real log.cc, and with this file's own syslog in place of the C library's.
#include <errno.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>

#include <string>
#include <vector>

#include "common/log.h"

static constexpr char LOG_MODULE[] = "log_test";

struct SyslogCall {
    int priority;
    std::string text;
};

static std::vector<SyslogCall> sent;

static void Keep(int priority, const char *format, va_list args)
{
    char text[65536];
    vsnprintf(text, sizeof text, format, args);
    sent.push_back({priority, text});
    errno = EIO;  // the logger has to hide what its own calls do to errno
}

// The two names under which the C library's headers call it, the second with _FORTIFY_SOURCE.
extern "C" void syslog(int priority, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Keep(priority, format, args);
    va_end(args);
}

extern "C" void __syslog_chk(int priority, int, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Keep(priority, format, args);
    va_end(args);
}

TEST(Log, FormsOfThePrefix)
{
    sent.clear();
    const LogSite at = {"music", 118};
    LogParen(at, "Bad parameter.");
    LogColon(at, "Failed to malloc(%d)", 7);
    LogCall(at, "Failed to rename %s. (%s)", "/a", "reason");
    LogPlain("FAILED to chown %s", "/a");
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(sent[0].text, "music (118) Bad parameter.");
    EXPECT_EQ(sent[1].text, "music:118 Failed to malloc(7)");
    EXPECT_EQ(sent[2].text, "music(118): Failed to rename /a. (reason)");
    EXPECT_EQ(sent[3].text, "FAILED to chown /a");
    for (const SyslogCall &call : sent)
        EXPECT_EQ(call.priority, LOG_ERR);
}

TEST(Log, PlaceIsTheCallersLine)
{
    sent.clear();
    LogParen(LOG_HERE, "x");
    EXPECT_EQ(sent.at(0).text, "log_test (" + std::to_string(__LINE__ - 1) + ") x");
}

TEST(Log, PercentSignsInValuesAreNoFormats)
{
    sent.clear();
    LogParen({"m", 1}, "[%s]", "%s%n%d");
    EXPECT_EQ(sent.at(0).text, "m (1) [%s%n%d]");
}

TEST(Log, MessageWithTwoLongestPathsIsWhole)
{
    sent.clear();
    const std::string path(4095, 'p');
    LogParen({"m", 1}, "%s %s", path.c_str(), path.c_str());
    EXPECT_EQ(sent.at(0).text, "m (1) " + path + " " + path);
}

TEST(Log, ErrnoStaysAsItWas)
{
    errno = ENOENT;
    LogParen({"m", 1}, "x");
    EXPECT_EQ(errno, ENOENT);
}
