// The appliance's event log: <state_dir>/event.log, one line per event. A line has eight fields with a tab
// between them: time (UTC, "2026-03-01T12:00:00Z"), class, level, event number ("0x11B00510") and four texts.
// In the texts a backslash stands as "\\" and every byte below 32, and byte 127, as "\x" with two hexadecimal
// digits, so that any bytes survive. At EVENT_LOG_LIMIT bytes the file becomes event.log.1, which replaces the
// one before.
#pragma once

#include <time.h>

#include <string>
#include <vector>

static constexpr long EVENT_LOG_LIMIT = 4 << 20;

struct EventLogRow {
    time_t time;
    int cls;
    int level;
    unsigned int event;
    std::string texts[4];
};

// All rows that are kept, the oldest first; lines that are none are left out. Empty when there is no log.
[[gnu::visibility("default")]] std::vector<EventLogRow> EventLogRead();
