// Playlists.
#include "index/playlist.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/record_text.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

TEST(Playlist, RecordHoldsIdentitySizeAndCtimeTexts)
{
    std::string path = Scratch("/volume1/music/Lists/best of.m3u");
    WriteFile(path, "a.mp3\n");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(PlaylistAdd(path.c_str()), 0);
    ASSERT_EQ(platform.saved.size(), 1u);

    // The ctime texts are 24 characters and a line feed.
    EXPECT_EQ(RecordText(platform.saved[0]),
              "path=" + path + "\ntitle=best of\nalbum=Lists\ncreate_time=" + ctime(&status.st_ctime) +
                  "\nmodify_time=" + ctime(&status.st_mtime) + "\nfilesize=6\n");
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + path});  // and no MediaInfoValid
}

TEST(Playlist, EmptyFileIsIndexed)
{
    std::string path = Scratch("/volume1/music/empty.wpl");
    WriteFile(path, "");
    EXPECT_EQ(PlaylistAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).filesize, 0u);
}

TEST(Playlist, LinkToAFileIsIndexedAndLinkToAFolderIsNot)
{
    WriteFile(Scratch("/elsewhere/list.m3u"), "x");
    MakeFolder(Scratch("/volume1/music"));
    std::string to_file = Scratch("/volume1/music/file.m3u");
    std::string to_folder = Scratch("/volume1/music/folder.m3u");
    ASSERT_EQ(symlink(Scratch("/elsewhere/list.m3u").c_str(), to_file.c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/elsewhere").c_str(), to_folder.c_str()), 0);
    EXPECT_EQ(PlaylistAdd(to_file.c_str()), 0);
    EXPECT_EQ(PlaylistAdd(to_folder.c_str()), -1);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + to_file});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(Playlist, FailuresOfTheAdd)
{
    EXPECT_EQ(PlaylistAdd(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{"playlist (#) Bad parameter."});
    EXPECT_EQ(PlaylistAdd("/nowhere/list.m3u"), -1);
    EXPECT_EQ(log_lines.size(), 1u);

    std::string path = Scratch("/volume1/a.m3u");
    WriteFile(path, "");
    platform.results["MediaInfoDBSave"] = -1;
    EXPECT_EQ(PlaylistAdd(path.c_str()), -1);
    EXPECT_EQ(log_lines.back(), "playlist (#) Failed to save playlist info.");
}

TEST(Playlist, FolderNameThatDoesNotFitIsReportedInItsOwnForm)
{
    std::string path = Scratch("/" + std::string(255, 'd') + "/list.m3u");
    WriteFile(path, "");
    EXPECT_EQ(PlaylistAdd(path.c_str()), 0);
    EXPECT_EQ(log_lines, Lines{"playlist (#) Impossible error."});
}

TEST(Playlist, DeleteOfAnExistingFileIsRefused)
{
    std::string path = Scratch("/volume1/a.m3u");
    WriteFile(path, "");
    EXPECT_EQ(PlaylistDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines, Lines{"playlist (#) File exists. Skip remove it from database."});
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(Playlist, RowThatCannotBeDeletedStillYieldsZero)
{
    EXPECT_EQ(PlaylistDelete("/gone/a.m3u"), 0);
    EXPECT_EQ(log_lines, Lines{});
    platform.results["MediaInfoDBDelete"] = -1;
    EXPECT_EQ(PlaylistDelete("/gone/a.m3u"), 0);
    EXPECT_EQ(log_lines, Lines{"playlist (#) Failed to remove /gone/a.m3u from database."});
}
