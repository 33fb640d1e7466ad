// The progress of a batch, as a person sees it. The daemon is halted for a moment where the screen is read, so that
// nothing depends on the speed of the machine.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "system/box.h"
#include "system/rows.h"
#include "system/terminal.h"

static constexpr int FILES = 400;

// Songs of one content under many names; each of them is probed.
static void LibraryMake()
{
    std::string first = "/volume1/music/Band/song 0.ogg";
    FileCopy(Sample("music/日本の音楽/夜の歌.ogg"), first);
    for (int i = 1; i < FILES; i++)
        std::filesystem::create_hard_link(first, "/volume1/music/Band/song " + std::to_string(i) + ".ogg");
}

// How many files are done, as the screen has it; -1 when it does not say.
static int FilesDone(const Texts &screen)
{
    static const std::regex words("([0-9]+) of 400 files");
    std::string text = Joined(screen);
    std::smatch match;
    return std::regex_search(text, match, words) ? std::stoi(match[1]) : -1;
}

static int LinesWith(const Texts &screen, const std::string &text)
{
    int count = 0;
    for (const std::string &line : screen)
        count += line.find(text) != std::string::npos;
    return count;
}

// Halts the daemon when the screen shows that more files than these are done; the screen then.
static Texts HaltAfter(Terminal &terminal, pid_t daemon, int files)
{
    for (double end = Clock() + 60; Clock() < end; usleep(10000)) {
        if (FilesDone(terminal.Screen()) <= files)
            continue;
        EXPECT_EQ(kill(daemon, SIGSTOP), 0);
        return terminal.WaitFor("the daemon is halted");
    }
    ADD_FAILURE() << "the number of files does not rise:\n" << Joined(terminal.Screen());
    return {};
}

// Columns that a line of the view fills; characters that are one column wide.
static size_t Columns(const std::string &line)
{
    size_t columns = 0;
    for (char byte : line)
        columns += (byte & 0xC0) != 0x80;
    return columns;
}

TEST(ProgressView, RebuildShowsABarUntilAllIsDone)
{
    LibraryMake();
    pid_t daemon = DaemonStart();
    DaemonSettle(daemon);
    // A screen that is in use is full: the view is at its end, and scrolls.
    Terminal terminal("seq 501 530; nuboindex rebuild music --wait; echo \"status $?\"", 100, 24);
    Texts screen = terminal.WaitFor("1 request waits; the daemon begins in about");
    EXPECT_EQ(screen[30], "queued");

    screen = HaltAfter(terminal, daemon, 0);
    int done = FilesDone(screen);
    EXPECT_LT(done, FILES);
    EXPECT_EQ(LinesWith(screen, "Indexing ") * LinesWith(screen, "░"), 1) << Joined(screen);
    EXPECT_EQ(LinesWith(screen, "request 1 of 1: rebuild music"), 1);
    EXPECT_EQ(LinesWith(screen, "/volume1/music/Band/song "), 1) << Joined(screen);
    EXPECT_FALSE(terminal.IsCursorShown());

    EXPECT_EQ(kill(daemon, SIGCONT), 0);
    screen = HaltAfter(terminal, daemon, done);
    done = FilesDone(screen);

    for (int columns : {40, 12, 130, 100}) {
        terminal.Resize(columns, 24);
        terminal.WaitFor(columns < 20 ? "request 1 …" : "of 400 files");
        usleep(500000);
        screen = terminal.Screen();
        EXPECT_EQ(LinesWith(screen, "400"), columns < 30 ? 0 : 1) << Joined(screen);
        EXPECT_EQ(LinesWith(screen, "quest 1 "), 1) << Joined(screen);
        for (const std::string &line : screen)
            EXPECT_LE(Columns(line), static_cast<size_t>(columns)) << Joined(screen);
    }

    EXPECT_EQ(kill(daemon, SIGCONT), 0);
    screen = terminal.WaitFor("status 0", 120);
    ASSERT_EQ(screen.size(), 33u) << Joined(screen);
    EXPECT_TRUE(screen[31].starts_with("Done: 400 files (")) << screen[31];
    EXPECT_TRUE(terminal.IsCursorShown());
    EXPECT_EQ(Paths("music").size(), static_cast<size_t>(FILES));
    EXPECT_FALSE(Exists(WORK_FILE));
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
}

TEST(ProgressView, AnInterruptLeavesTheTerminalInOrderAndTheBatchRunning)
{
    LibraryMake();
    BecomeMediaServer();
    FileAppend(QUEUE, "R:music\n");
    pid_t daemon = DaemonLaunch();
    Terminal terminal("trap : INT; nuboindex status --follow; echo \"status $?\"", 90, 24);
    HaltAfter(terminal, daemon, 0);
    terminal.Press("C-c");
    Texts screen = terminal.WaitFor("status 130");
    EXPECT_EQ(LinesWith(screen, "Indexing") + LinesWith(screen, "/volume1"), 0) << Joined(screen);
    EXPECT_TRUE(terminal.IsCursorShown());
    EXPECT_TRUE(Exists(WORK_FILE));
    EXPECT_EQ(kill(daemon, SIGCONT), 0);
    EXPECT_TRUE(BatchesWait());
    EXPECT_EQ(Paths("music").size(), static_cast<size_t>(FILES));
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
}

TEST(ProgressView, SuspendedAndContinuedItGoesOn)
{
    LibraryMake();
    FileAppend(QUEUE, "R:music\n");
    pid_t daemon = DaemonLaunch();
    Terminal terminal("bash --norc -i", 90, 24);
    terminal.Press("PS1='> '; nuboindex status -f\n");
    terminal.Press("Enter");
    int done = FilesDone(HaltAfter(terminal, daemon, 0));
    terminal.Press("C-z");
    Texts screen = terminal.WaitFor("Stopped");
    EXPECT_EQ(LinesWith(screen, "░"), 0) << Joined(screen);
    EXPECT_TRUE(terminal.IsCursorShown());
    terminal.Press("fg\n");
    terminal.Press("Enter");
    screen = terminal.WaitFor("of 400 files");
    EXPECT_EQ(FilesDone(screen), done);
    EXPECT_EQ(kill(daemon, SIGCONT), 0);
    terminal.WaitFor("Done: 400 files", 120);
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
}

TEST(ProgressView, ARestartedDaemonIsFollowedAndADeadOneReported)
{
    LibraryMake();
    FileAppend(QUEUE, "R:music\n");
    pid_t daemon = DaemonLaunch();
    Terminal terminal("nuboindex status --follow; echo \"status $?\"", 120, 24);
    HaltAfter(terminal, daemon, 0);
    EXPECT_NE(DaemonEnd(daemon, SIGKILL), -1);
    daemon = DaemonLaunch();
    HaltAfter(terminal, daemon, 0);
    EXPECT_NE(DaemonEnd(daemon, SIGKILL), -1);
    Texts screen = terminal.WaitFor("status 1");
    EXPECT_EQ(Joined(screen),
              "nuboindex: the daemon is not running; the interrupted batch starts over when the daemon "
              "does\nstatus 1\n");
}

TEST(ProgressView, WithoutATerminalThereIsALineForEachChange)
{
    LibraryMake();
    FileAppend(QUEUE, "R:music\na:/volume1/music/Band/song 1.ogg\n");
    pid_t daemon = DaemonLaunch();
    Finished follow = ProgramRun({"nuboindex", "status", "--follow"});
    EXPECT_EQ(follow.status, 0) << follow.output;
    EXPECT_EQ(follow.output.find('\x1b'), std::string::npos);
    EXPECT_NE(follow.output.find("indexing: "), std::string::npos) << follow.output;
    EXPECT_NE(follow.output.find("\nDone: 401 files ("), std::string::npos) << follow.output;
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
}
