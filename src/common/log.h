// The daemon's messages: syslog at LOG_ERR, each with the source module and line in front. The logger
// leaves errno as it was.
#pragma once

struct LogSite {
    const char *module;
    int line;
};

// The place of the call; every .cc file that logs defines LOG_MODULE.
#define LOG_HERE (LogSite{LOG_MODULE, __LINE__})

// music (118) Bad parameter.
[[gnu::format(printf, 2, 3)]] void LogParen(LogSite at, const char *format, ...);
// aac:74 Bad parameter.
[[gnu::format(printf, 2, 3)]] void LogColon(LogSite at, const char *format, ...);
// index_queue(60): Failed to rename ...
[[gnu::format(printf, 2, 3)]] void LogCall(LogSite at, const char *format, ...);
// No prefix at all.
[[gnu::format(printf, 1, 2)]] void LogPlain(const char *format, ...);
