// The debounce, with a clock that a test turns.
#include "daemon/main_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/paths.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

static time_t now;
static int signals_in_sleep;  // SIGUSR1s that arrive during the next sleep
static unsigned slept;        // what the loop asked for

static unsigned FakeSleep(unsigned seconds)
{
    slept = seconds;
    for (; signals_in_sleep > 0; signals_in_sleep--)
        SetDirty(SIGUSR1);
    return 0;
}

static time_t FakeTime(time_t *)
{
    return now;
}

static constexpr MainLoopClock fake_clock = {FakeSleep, FakeTime};

class MainLoop : public testing::Test
{
  protected:
    void SetUp() override
    {
        dirty_pending = 0;
        dirty_recent = 0;
        dirty_signal_count = 0;
        signals_in_sleep = 0;
        now = 1000000;
        MainLoopStart(&fake_clock);
        platform.calls.clear();
    }

    // One pass with so many signals during its sleep; true when it ran a batch.
    static bool Pass(int signals)
    {
        WriteFile(INDEX_QUEUE_PATH, "");
        signals_in_sleep = signals;
        size_t before = platform.calls.size();
        MainLoopPass(&fake_clock);
        EXPECT_EQ(slept, 10u);
        bool ran = false;
        for (size_t i = before; i < platform.calls.size(); i++)
            ran = ran || platform.calls[i] == "NUBOIndexMusicTableDirtySet 0";
        return ran;
    }

    static int Vacuums()
    {
        int count = 0;
        for (const std::string &call : platform.calls)
            count += call == "MediaDBVacuum";
        return count;
    }
};

TEST_F(MainLoop, IdleDoesNothing)
{
    for (int i = 0; i < 5; i++)
        EXPECT_FALSE(Pass(0));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(MainLoop, OneSignalThenSilenceLeadsToABatchAtTheNextUndisturbedWake)
{
    EXPECT_FALSE(Pass(1));
    EXPECT_EQ(dirty_pending, 1);
    EXPECT_EQ(dirty_recent, 0);
    EXPECT_TRUE(Pass(0));
    EXPECT_EQ(dirty_pending, 0);
    EXPECT_EQ(dirty_signal_count, 0);
    EXPECT_FALSE(Pass(0));
}

TEST_F(MainLoop, SignalsWithoutPauseGetTheirBatchOnlyAfterTenThousand)
{
    for (int i = 0; i < 9999; i++)
        ASSERT_FALSE(Pass(1)) << i;
    EXPECT_EQ(Vacuums(), 0);
    EXPECT_TRUE(Pass(1));
    EXPECT_EQ(Vacuums(), 1);  // a forced batch always vacuums
    EXPECT_EQ(dirty_signal_count, 0);
    EXPECT_EQ(dirty_pending, 0);
    EXPECT_FALSE(Pass(0));
}

TEST_F(MainLoop, TenThousandSignalsInOneSleepForceOneBatch)
{
    EXPECT_TRUE(Pass(10000));
    EXPECT_FALSE(Pass(0));
    EXPECT_EQ(platform.calls[0], "MediaDBVacuum");
    EXPECT_EQ(platform.calls[1], "PhotoDBVacuum");
    EXPECT_EQ(platform.calls[2], "NUBOIndexMusicTableDirtySet 0");
}

TEST_F(MainLoop, BatchResetsTheSignalCount)
{
    for (int i = 0; i < 9999; i++)
        SetDirty(SIGUSR1);
    EXPECT_FALSE(Pass(0));
    EXPECT_TRUE(Pass(0));
    EXPECT_FALSE(Pass(1));  // the count starts again at 1
    EXPECT_EQ(Vacuums(), 0);
}

TEST_F(MainLoop, RecentWithoutPendingBecomesPending)
{
    dirty_recent = 1;  // the signal landed between the two clearing stores
    EXPECT_FALSE(Pass(0));
    EXPECT_EQ(dirty_pending, 1);
    EXPECT_EQ(dirty_recent, 1);
    EXPECT_FALSE(Pass(0));
    EXPECT_TRUE(Pass(0));
}

TEST_F(MainLoop, VacuumsAtMostOnceInTwelveHours)
{
    static const struct {
        time_t elapsed;
        int vacuums;
    } cases[] = {
        {12 * 3600, 0},              // not more than twelve hours
        {12 * 3600 + 1, 1},          // now it is
        {12 * 3600 + 2, 1},          // twelve hours count from the last vacuum
        {24 * 3600 + 2, 2}, {0, 2},  // a clock that was set back
    };
    const time_t start = now;
    for (const auto &c : cases) {
        now = start + c.elapsed;
        EXPECT_FALSE(Pass(1));
        EXPECT_TRUE(Pass(0));
        EXPECT_EQ(Vacuums(), c.vacuums) << c.elapsed;
    }
}

TEST_F(MainLoop, FailedVacuumsAreLoggedAndIgnored)
{
    platform.results["MediaDBVacuum"] = -1;
    platform.results["PhotoDBVacuum"] = -1;
    EXPECT_TRUE(Pass(10000));
    EXPECT_EQ(log_lines,
              (Lines{"main_loop (#) vaccuum mediaserver failed.", "main_loop (#) vaccuum photodb failed."}));
}

TEST_F(MainLoop, StartVacuumsBothDatabasesMediaFirst)
{
    MainLoopStart(&fake_clock);
    EXPECT_EQ(platform.calls, (Lines{"MediaDBVacuum", "PhotoDBVacuum"}));
}
