// A batch is on the disk before anybody is told of it, at the price of a flush of each database and none for each
// row.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>

#include "system/box.h"
#include "system/rows.h"

static Texts FlushLog(const std::string &name)
{
    Texts events;
    std::istringstream log(FileRead("/tmp/flush.log"));
    for (std::string line; std::getline(log, line);) {
        if (line.starts_with("signal ") || line.ends_with(name))
            events.push_back(line.substr(0, line.find(' ')));
    }
    return events;
}

TEST(SqliteFlush, IsMadeOnceABatchAndBeforeAnybodyIsTold)
{
    FileWrite("/volume1/photo/Trip/a.jpg", "no picture");
    Index({"A:/volume1/photo/Trip"});  // the databases are there
    for (int i = 0; i < 500; i++)
        FileWrite("/volume1/video/" + std::to_string(i) + ".srt", "");
    FileWrite("/volume1/photo/Trip/b.jpg", "no picture");
    Index({"A:/volume1/video", "A:/volume1/photo/Trip"},
          {"LD_PRELOAD=" + Built("lib/libflush_log.so"), "ASAN_OPTIONS=verify_asan_link_order=0"});
    EXPECT_EQ(Paths("video").size(), 500u);
    for (const char *name : {"media.db-wal", "photo.db-wal"}) {
        Texts events = FlushLog(name);
        auto told = std::find(events.begin(), events.end(), "signal");
        ASSERT_NE(told, events.end());
        auto begin = std::find(events.begin(), told, "write");
        auto writes = std::count(begin, told, "write");
        auto flushes = std::count(begin, told, "flush");
        std::cout << name << ": " << writes << " writes, " << flushes << " flushes before the signal\n";
        EXPECT_GT(writes, name[0] == 'm' ? 500 : 0);
        EXPECT_LE(flushes, 2);  // one of them when the log begins anew
        EXPECT_EQ(told[-1], "flush") << "written after the flush";
    }
}
