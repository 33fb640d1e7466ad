// The event log: what is appended is read back, whatever its bytes, and the file stays bounded.
#include "nlib/event_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "nlib/config.h"
#include "platform/sdk.h"
#include "support/scratch.h"

static std::string LogPath()
{
    return Scratch("/state/event.log");
}

TEST(EventLog, ARowIsReadBackWhole)
{
    time_t before = time(nullptr);
    ASSERT_EQ(NUBOLogSet1(2, 3, 0x11B00510, "/volume1/music/a.mp3", "", "x", nullptr), 0);
    auto rows = EventLogRead();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_GE(rows[0].time, before);
    EXPECT_LE(rows[0].time, time(nullptr));
    EXPECT_EQ(rows[0].cls, 2);
    EXPECT_EQ(rows[0].level, 3);
    EXPECT_EQ(rows[0].event, 0x11B00510u);
    EXPECT_EQ(rows[0].texts[0], "/volume1/music/a.mp3");
    EXPECT_EQ(rows[0].texts[1], "");
    EXPECT_EQ(rows[0].texts[2], "x");
    EXPECT_EQ(rows[0].texts[3], "");
}

TEST(EventLog, AnyBytesSurviveOnOneLine)
{
    std::string all;
    for (int byte = 1; byte < 256; byte++)
        all += static_cast<char>(byte);
    ASSERT_EQ(NUBOLogSet1(-1, -2, 0xFFFFFFFF, all.c_str(), "\\n\\x41", "\t", "\\"), 0);
    ASSERT_EQ(NUBOLogSet1(0, 0, 0, "next", "", "", ""), 0);
    std::string content = ReadFile(LogPath());
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 2);
    auto rows = EventLogRead();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].texts[0], all);
    EXPECT_EQ(rows[0].texts[1], "\\n\\x41");
    EXPECT_EQ(rows[0].texts[2], "\t");
    EXPECT_EQ(rows[0].texts[3], "\\");
    EXPECT_EQ(rows[0].cls, -1);
    EXPECT_EQ(rows[0].event, 0xFFFFFFFFu);
    EXPECT_EQ(rows[1].texts[0], "next");
}

TEST(EventLog, IsEmptyWithoutAFile)
{
    EXPECT_TRUE(EventLogRead().empty());
}

TEST(EventLog, MakesTheStateFolder)
{
    std::filesystem::remove_all(Scratch("/state"));
    EXPECT_EQ(NUBOLogSet1(1, 1, 1, "a", "", "", ""), 0);
    EXPECT_EQ(EventLogRead().size(), 1u);
}

TEST(EventLog, FailsWhereItCannotWrite)
{
    std::filesystem::remove_all(Scratch("/state"));
    WriteFile(Scratch("/state"), "a file stands in the way");
    EXPECT_NE(NUBOLogSet1(1, 1, 1, "a", "", "", ""), 0);
    EXPECT_TRUE(EventLogRead().empty());
}

TEST(EventLog, ForeignAndTornLinesAreLeftOut)
{
    ASSERT_EQ(NUBOLogSet1(1, 1, 1, "good", "", "", ""), 0);
    std::string good = ReadFile(LogPath());
    WriteFile(LogPath(), "rubbish\n\t\t\t\t\t\t\t\n2026-13-45T00:00:00Z\t1\t1\t0x1\ta\t\t\t\n" + good +
                             good.substr(0, good.size() - 1) + "\t\n" + good.substr(0, good.size() - 1));
    auto rows = EventLogRead();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].texts[0], "good");
}

TEST(EventLog, HostileEscapesAreReadWithinTheirText)
{
    WriteFile(LogPath(), "2026-03-01T12:00:00Z\t1\t1\t0x1\t\\\t\\x\t\\x4\tA\\xzzB\n");
    auto rows = EventLogRead();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].texts[0], "\\");
    EXPECT_EQ(rows[0].texts[1], "x");
    EXPECT_EQ(rows[0].texts[2], "x4");
    EXPECT_EQ(rows[0].time, 1772366400);
}

TEST(EventLog, AFullFileIsPutAsideOnce)
{
    std::string text(4000, 'x');
    size_t rows = 0;
    while (!BlNLIBFileExist((LogPath() + ".1").c_str())) {
        ASSERT_EQ(NUBOLogSet1(1, 1, static_cast<unsigned int>(rows), text.c_str(), "", "", ""), 0);
        rows++;
        ASSERT_LT(rows, 2000u);
    }
    uint64_t size = 0;
    ASSERT_TRUE(IsFileExist((LogPath() + ".1").c_str(), &size));
    EXPECT_LE(size, static_cast<uint64_t>(EVENT_LOG_LIMIT));
    EXPECT_GT(size, static_cast<uint64_t>(EVENT_LOG_LIMIT) - 5000);
    auto kept = EventLogRead();
    ASSERT_EQ(kept.size(), rows);
    for (size_t i = 0; i < rows; i++)
        ASSERT_EQ(kept[i].event, i);
}

TEST(EventLog, TwoWritersMixNothing)
{
    std::string text(3000, 'y');
    pid_t child = fork();
    for (int i = 0; i < 1000; i++) {
        if (NUBOLogSet1(child == 0, 1, static_cast<unsigned int>(i), text.c_str(), "", "", ""))
            break;
    }
    if (child == 0)
        _exit(0);
    waitpid(child, nullptr, 0);
    auto rows = EventLogRead();
    ASSERT_EQ(rows.size(), 2000u);  // 6 MiB: one change of files
    unsigned int next[2] = {0, 0};
    for (const auto &row : rows) {
        ASSERT_EQ(row.texts[0], text);
        ASSERT_EQ(row.event, next[row.cls]++);
    }
}
