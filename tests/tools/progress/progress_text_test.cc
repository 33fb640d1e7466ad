// The view as text, for every width.
#include "progress/progress_text.h"

#include <gtest/gtest.h>

#include "display_width.h"

static BatchView Running()
{
    BatchView view = {};
    view.phase = WORK_RUNNING;
    view.daemon_pid = 42;
    view.line = 2;
    view.line_count = 3;
    view.request = "rebuild music";
    view.done = {290, 12'400'000};
    view.total = {500, 21'000'000};
    view.line_done = {90, 0};
    view.line_total = {300, 0};
    view.is_counted = true;
    view.file = "/volume1/music/Sigur Öst/01 Öppning.mp3";
    view.elapsed = 9;
    view.files_per_second = 34.2;
    view.seconds_left = 6.5;
    return view;
}

static std::string Lines(const BatchView &view, int width, int height = 24)
{
    std::string text;
    for (const std::string &line : ProgressLines(view, {width, true, false}, height))
        text += line + '\n';
    return text;
}

TEST(ProgressText, ARunningBatch)
{
    EXPECT_EQ(Lines(Running(), 60), "Indexing ███████████████▋░░░░░░░░░░░  58 %  290 of 500 files\n"
                                    "34 files/s, 0:07 left, 0:09 so far, 11.8 MiB of 20.0 MiB\n"
                                    "request 2 of 3: rebuild music, 90 of 300 files\n"
                                    "/volume1/music/Sigur Öst/01 Öppning.mp3\n");
}

TEST(ProgressText, NarrowTerminalsLoseTheBarAndTheLeastWantedParts)
{
    EXPECT_EQ(Lines(Running(), 30), "58 %, 290 of 500 files\n"
                                    "34 files/s, 0:07 left\n"
                                    "request 2 of 3: rebuild music…\n"
                                    "…usic/Sigur Öst/01 Öppning.mp3\n");
    EXPECT_EQ(Lines(Running(), 30, 2), "58 %, 290 of 500 files\n"
                                       "34 files/s, 0:07 left\n");
}

TEST(ProgressText, NoLineIsWiderThanTheTerminalNorAreThereMoreThanFit)
{
    BatchView view = Running();
    view.failures = 3;
    view.is_stopped = true;
    view.since_step = 100;
    for (const char *path : {"/日本の音楽/夜の歌/長い名前のファイル.ogg", "/a\xff\xfe\x1b[2J\n.mp3", "",
                             "/e\u0301\u0301\u0301.mp3"}) {
        view.file = path;
        view.request = std::string("add ") + path;
        for (WorkPhase phase : {WORK_RUNNING, WORK_WAITING, WORK_NONE}) {
            view.phase = phase;
            for (int width = 1; width < 120; width++) {
                for (int height : {1, 2, 3, 24}) {
                    std::vector<std::string> lines = ProgressLines(view, {width, true, false}, height);
                    EXPECT_LE(static_cast<int>(lines.size()), height);
                    for (const std::string &line : lines) {
                        ASSERT_LE(DisplayWidth(line), width) << line;
                        ASSERT_EQ(line.find_first_of("\x1b\n"), std::string::npos);
                    }
                }
            }
        }
    }
}

TEST(ProgressText, TheWholeIsLeftToTheEnd)
{
    BatchView view = Running();
    view.done = view.total;
    EXPECT_NE(Lines(view, 80).find("99 %"), std::string::npos);
    EXPECT_EQ(SummaryLine(view), "Done: 500 files (20.0 MiB) in 0:09, 56 files/s");
}

TEST(ProgressText, WhileFilesAreCountedTheLinesTellTheShare)
{
    BatchView view = Running();
    view.is_counted = false;
    view.seconds_left = -1;
    EXPECT_NEAR(DoneShare(view), 1 / 3.0, 1e-9);
    std::string text = Lines(view, 80);
    EXPECT_NE(text.find("33 %  counting the files: 500\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("left"), std::string::npos);
    view.line_count = view.line = 1;
    EXPECT_LT(DoneShare(view), 0);
    EXPECT_EQ(Lines(view, 80).find('%'), std::string::npos);
}

TEST(ProgressText, RequestsWithoutFilesAreMeasuredByTheirLines)
{
    BatchView view = {};
    view.phase = WORK_RUNNING;
    view.is_counted = true;
    view.line = 6;
    view.line_count = 10;
    EXPECT_NEAR(DoneShare(view), 0.5, 1e-9);
    view.elapsed = 2;
    EXPECT_EQ(SummaryLine(view), "Done: 10 requests in 0:02");
}

TEST(ProgressText, WhatGoesWrongIsSaid)
{
    BatchView view = Running();
    view.is_stopped = true;
    view.failures = 1;
    view.since_step = 75;
    std::string text = Lines(view, 80);
    EXPECT_NE(text.find("the daemon is halted (kill -CONT 42), 1 file could not be read\n"), std::string::npos);
    EXPECT_NE(text.find("for 1:15 /volume1/music/Sigur"), std::string::npos);
    EXPECT_NE(SummaryLine(view).find("; 1 file could not be read (nuboindex failures)"), std::string::npos);
}

TEST(ProgressText, WaitingTellsHowLong)
{
    BatchView view = {};
    view.phase = WORK_WAITING;
    view.daemon_pid = 42;
    view.queue_lines = 3;
    view.queue_age = 3;
    EXPECT_EQ(ProgressLine(view), "waiting: 3 requests wait; the daemon begins in about 7 seconds");
    view.queue_age = 12;
    view.queue_lines = 1;
    EXPECT_EQ(ProgressLine(view), "waiting: 1 request waits; the daemon begins in about 1 second");
    view.queue_age = 60;
    EXPECT_EQ(ProgressLine(view), "waiting: 1 request waits; the daemon has not been woken (kill -USR1 42)");
}

TEST(ProgressText, OneLineForALog)
{
    EXPECT_EQ(
        ProgressLine(Running()),
        "indexing: 58 %, 290 of 500 files, 34 files/s, 0:07 left, 0:09 so far, 11.8 MiB of 20.0 MiB, request 2 "
        "of 3: rebuild music, 90 of 300 files, /volume1/music/Sigur Öst/01 Öppning.mp3");
}

TEST(ProgressText, TerminalsWithoutBlockCharactersGetABarOfAscii)
{
    std::vector<std::string> lines = ProgressLines(Running(), {60, false, false}, 1);
    EXPECT_EQ(lines[0], "Indexing ###############------------  58 %  290 of 500 files");
    lines = ProgressLines(Running(), {60, false, true}, 1);
    EXPECT_NE(lines[0].find("\x1b[32m###############\x1b[0m"), std::string::npos);
}

TEST(DisplayWidth, CutsAtCharactersAndSaysSo)
{
    EXPECT_EQ(DisplayWidth("Öst"), 3);
    EXPECT_EQ(DisplayWidth("日本"), 4);
    EXPECT_EQ(DisplayWidth("e\u0301"), 1);
    EXPECT_EQ(EndThatFits("/a/日本", 5), "…日本");
    EXPECT_EQ(EndThatFits("/a/日本", 4), "…本");
    EXPECT_EQ(EndThatFits("/a/b", 4), "/a/b");
    EXPECT_EQ(EndThatFits("/a/b", 0), "");
    EXPECT_EQ(StartThatFits("日本の", 4), "日…");
    EXPECT_EQ(StartThatFits("abc", 3), "abc");
    EXPECT_EQ(StartThatFits("abc", 1), "…");
}
