// The appliance's libraries are found by the dynamic linker: another provider needs no rebuild.
#include <gtest/gtest.h>
#include <signal.h>

#include "system/box.h"
#include "system/rows.h"

TEST(Swap, AnotherMediaIndexTakesTheRows)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/video/b.m3u", "");
    BecomeMusicServer();
    Index({"A:/volume1/video", "D:/volume1/video/gone"},
          {"LD_PRELOAD=" + Built("lib/libvendor_mediaindex.so"),
           "ASAN_OPTIONS=verify_asan_link_order=0"});  // its runtime wants to be the first otherwise
    std::string calls = FileRead("/tmp/vendor.log");
    EXPECT_NE(calls.find("folder 0 /volume1/video\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("save 1 /volume1/video/a.srt\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("save 3 /volume1/video/b.m3u\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("delete 5 /volume1/video/gone\n"), std::string::npos) << calls;
    EXPECT_EQ(MediaDump(), "");
    EXPECT_TRUE(SignalArrived(SIGHUP, 5));  // its table says that it changed
    EXPECT_EQ(Log(), Texts({"main_loop (#) vaccuum mediaserver failed."}));
}
