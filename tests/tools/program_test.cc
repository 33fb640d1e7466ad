// The program itself: exit status, pipes, a full disk.
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>

#include "platform/media_index.h"
#include "support/scratch.h"

struct ShellResult {
    int status;
    std::string text;
};

// Runs a shell command in which $N is the program, reading the databases of the scratch folder.
static ShellResult Shell(const std::string &command)
{
    setenv("N", TOOL_PROGRAM, 1);
    setenv("NUBO_PLATFORM_CONF", Scratch("/etc/platform.conf").c_str(), 1);
    FILE *pipe = popen(("exec 2>&1; " + command).c_str(), "r");
    ShellResult result = {-1, ""};
    char buffer[4096];
    for (size_t length = 0; (length = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        result.text.append(buffer, length);
    result.status = WEXITSTATUS(pclose(pipe));
    return result;
}

static void SongsSave(int count)
{
    NUBOIndexMusicTableDirtySet(0);  // let go of the databases of an earlier test
    for (int i = 0; i < count; i++) {
        MediaInfoRecord record = {};
        snprintf(record.path, sizeof record.path, "/volume1/music/%05d-%s.mp3", i,
                 std::string(200, 'x').c_str());
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    }
}

TEST(Program, ExitStatusTellsWhatHappened)
{
    SongsSave(1);
    EXPECT_EQ(Shell("$N list music").status, 0);
    EXPECT_EQ(Shell("$N show /nothing").status, 1);
    EXPECT_EQ(Shell("$N list nothing").status, 2);
    EXPECT_EQ(Shell("$N").status, 2);
    EXPECT_EQ(Shell("$N --help").status, 0);
}

TEST(Program, AClosedPipeEndsItInSilence)
{
    SongsSave(2000);  // more than a pipe holds
    EXPECT_EQ(Shell("$N list music | wc -l").text, "2001\n");
    ShellResult result = Shell("$N list music | head -n 1 | wc -l; $N list music --json | head -n 1");
    EXPECT_EQ(result.text, "1\n[\n");
    EXPECT_EQ(Shell("trap '' PIPE; $N list music | head -n 1 | wc -l").text, "1\n");
}

TEST(Program, AFullDiskIsAFailure)
{
    SongsSave(1);
    ShellResult result = Shell("$N list music >/dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "nuboindex: the output could not be written\n");
}

TEST(Program, AnUnknownSubCommandIsNamedAndCannotSteerTheTerminal)
{
    ShellResult result = Shell("$N \"$(printf 'ad\\033[2J')\"");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.text, "nuboindex: no such sub-command: ad\\x1b[2J\n"
                           "Run 'nuboindex --help' or 'nuboindex SUBCOMMAND --help'.\n");
}

TEST(Program, TheOutputDoesNotDependOnTheLocale)
{
    NUBOIndexMusicTableDirtySet(0);
    MediaInfoRecord record = {};
    strcpy(record.path, "/volume1/music/Dvořák.mp3");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    EXPECT_EQ(Shell("LC_ALL=C $N list music").text,
              "title,artist,album,time,kbit/s,path\n,,,,,/volume1/music/Dvořák.mp3\n");
}
