// The program as it is installed: how long a user waits.
#include <filesystem>

#include "watch_box.h"

namespace fs = std::filesystem;

struct WatchLive : WatchBox {
};
INSTANTIATE_TEST_SUITE_P(Watch, WatchLive, testing::Values("as-installed"),
                         [](const auto &) { return "AsInstalled"; });

// Ten seconds of this are the daemon's own quiet period, two are the watcher's.
TEST_P(WatchLive, CopiedFileIsListedWithinFifteenSeconds)
{
    static constexpr double WANTED = 15, BOUND = 60;  // the bound is for a machine with much else to do
    Watch("");
    daemon = DaemonStart();  // executes at once what the watcher found
    ASSERT_TRUE(WaitUntil(BOUND, [] { return WatcherIsIdle() && !Exists(QUEUE) && !Exists(WORK_FILE); }));
    FileCopy(Sample("music/Various/wave.wav"), "/volume1/music/New/wave.wav");
    double begin = Clock();
    EXPECT_TRUE(WaitUntil(BOUND, [] {
        return ProgramRun({Built("bin/nuboindex"), "list", "music"}).output.find("/New/wave.wav") !=
               std::string::npos;
    })) << WatchStatus();
    double seconds = Clock() - begin;
    std::cout << "listed after " << seconds << " seconds (" << WANTED << " are wanted), " << WatchStatus()
              << '\n';
    RecordProperty("seconds", std::to_string(seconds));
}
