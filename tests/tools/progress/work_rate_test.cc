// How fast, and how long it will take.
#include "progress/work_rate.h"

#include <gtest/gtest.h>

TEST(WorkRate, NothingIsToldFromLessThanASecond)
{
    WorkRate rate;
    EXPECT_EQ(rate.FilesPerSecond(), 0);
    EXPECT_LT(rate.SecondsUntil(10), 0);
    rate.Add(100, 0);
    rate.Add(100.6, 50);
    EXPECT_EQ(rate.FilesPerSecond(), 0);
    EXPECT_LT(rate.SecondsUntil(10), 0);
}

TEST(WorkRate, TheMeanOfWhatWasSeen)
{
    WorkRate rate;
    for (int i = 0; i <= 40; i++)
        rate.Add(i * 0.1, i);
    EXPECT_NEAR(rate.FilesPerSecond(), 10, 0.01);
    EXPECT_NEAR(rate.SecondsUntil(140), 10, 0.01);
    EXPECT_NEAR(rate.SecondsUntil(40), 0, 0.01);
}

TEST(WorkRate, WhatIsLongAgoDoesNotCount)
{
    WorkRate rate;
    int64_t files = 0;
    for (int second = 0; second < 100; second++)
        rate.Add(second, files += 1000);
    for (int second = 100; second < 140; second++)
        rate.Add(second, files += 2);
    EXPECT_NEAR(rate.FilesPerSecond(), 2, 0.2);
}

TEST(WorkRate, AStandstillHasNoEnd)
{
    WorkRate rate;
    for (int second = 0; second < 60; second++)
        rate.Add(second, 7);
    EXPECT_EQ(rate.FilesPerSecond(), 0);
    EXPECT_LT(rate.SecondsUntil(10), 0);
}
