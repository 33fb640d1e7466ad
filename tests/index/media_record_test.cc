// The defaults that a path gives.
#include "index/media_record.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "index/name_defaults.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/record_text.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

TEST(NameDefaults, TitleAndAlbumFromPaths)
{
    static constexpr struct {
        const char *path;
        const char *title;
        const char *album;
    } cases[] = {
        {"/volume1/music/Artist/Album/01 Intro.mp3", "01 Intro", "Album"},
        {"/x/a.b.mp3", "a.b", "x"},
        {"/x/noextension", "noextension", "x"},
        {"/x/.hidden", "", "x"},
        {"/file.mp3", "file", ""},  // directly in "/"
        {"file.mp3", "file", ""},
        {"dir/file.mp3", "file", ""},  // relative, one slash
        {"a/b/file.mp3", "file", "b"},
        {"/x/dir.d/file", "file", "dir.d"},
        {"//file.mp3", "file", ""},
        {"/x//file.mp3", "file", ""},  // an empty component is a folder without a name
        {"/x/", "", "x"},
        {"/", "", ""},
        {"", "", ""},
        {"/x/..", ".", "x"},
    };
    for (const auto &c : cases) {
        char title[255];
        char album[255] = "";
        TitleFromPath(c.path, title, sizeof title);
        EXPECT_TRUE(AlbumFromPath(c.path, album, sizeof album)) << c.path;
        EXPECT_STREQ(title, c.title) << c.path;
        EXPECT_STREQ(album, c.album) << c.path;
    }
}

TEST(NameDefaults, LongNamesAreCutBeforeTheExtensionIsLookedFor)
{
    char title[255];
    std::string name(253, 'n');
    TitleFromPath(("/x/" + name + ".mp3").c_str(), title, sizeof title);
    EXPECT_EQ(title, name);  // the dot is the 254th character and still inside
    name.push_back('n');
    TitleFromPath(("/x/" + name + ".mp3").c_str(), title, sizeof title);
    EXPECT_EQ(title, name);  // the extension was cut away with its dot
    TitleFromPath(("/x/a." + name + ".mp3").c_str(), title, sizeof title);
    EXPECT_STREQ(title, "a");  // and an earlier dot takes its place
}

TEST(NameDefaults, FolderNameThatFillsTheFieldIsReported)
{
    char album[255];
    EXPECT_TRUE(AlbumFromPath(("/" + std::string(253, 'd') + "/f").c_str(), album, sizeof album));
    EXPECT_EQ(album, std::string(253, 'd'));
    EXPECT_FALSE(AlbumFromPath(("/" + std::string(255, 'd') + "/f").c_str(), album, sizeof album));
    EXPECT_EQ(album, std::string(254, 'd'));
}

TEST(MediaRecord, CommonFillSetsTheDefaults)
{
    std::string path = Scratch("/volume1/music/Artist/Album/01 Intro.mp3");
    WriteFile(path, "12345");
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaInfoCommonFill(path.c_str(), &record), 0);

    EXPECT_EQ(RecordText(record), "path=" + path + "\ntitle=01 Intro\nalbum=Album\n" +
                                      "create_time=2001-02-03 04:05:06\nmodify_time=2000-01-02 03:04:05\n" +
                                      "filesize=5\n");
}

TEST(MediaRecord, CommonFillRefusesBadParametersAloud)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaInfoCommonFill(nullptr, &record), -1);
    EXPECT_EQ(MediaInfoCommonFill("", &record), -1);
    EXPECT_EQ(MediaInfoCommonFill("/x", nullptr), -1);
    EXPECT_EQ(log_lines, Lines(3, "media_record:# Bad parameter."));
}

TEST(MediaRecord, CommonFillRefusesMissingFilesSilently)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaInfoCommonFill("/nowhere/a.ogg", &record), -1);
    EXPECT_EQ(MediaInfoCommonFill(Scratch("/volume1").c_str(), &record), -1);  // a folder is no file
    EXPECT_EQ(log_lines, Lines{});
}

TEST(MediaRecord, CommonFillReportsAFolderNameThatDoesNotFit)
{
    std::string path = Scratch("/" + std::string(255, 'd') + "/f.ogg");
    WriteFile(path, "");
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaInfoCommonFill(path.c_str(), &record), 0);
    EXPECT_EQ(record.album, std::string(254, 'd'));
    EXPECT_EQ(log_lines, Lines{"media_record:# Impossible error."});
}

// Longer ones than this are refused by the operating system before anything could be cut.
TEST(MediaRecord, LongestPathIsStoredWhole)
{
    std::string path = MakeDeepFile(Scratch("/volume1/deep"), 4095, ".ogg");
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaInfoCommonFill(path.c_str(), &record), 0);
    EXPECT_EQ(record.path, path);
}

// No file system names such a file; another provider of the library may say that it exists.
TEST(MediaRecord, LongerPathIsStoredCutTo4095)
{
    platform.results["IsFileExist"] = 1;
    for (size_t length : {4096u, 5000u}) {
        std::string path = "/" + std::string(length - 1, 'x');
        MediaInfoRecord record = {};
        EXPECT_EQ(MediaInfoCommonFill(path.c_str(), &record), 0);
        EXPECT_EQ(record.path, path.substr(0, 4095));
        EXPECT_EQ(record.title, path.substr(1, 254));
        EXPECT_EQ(record.track, 0);  // the field behind the path
    }
}

TEST(DirectoryInfo, SavesExistingFoldersOnly)
{
    EXPECT_EQ(DirectoryInfoSave(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{"media_record (#) Bad parameter."});
    WriteFile(Scratch("/volume1/file"), "");
    EXPECT_EQ(DirectoryInfoSave("/nowhere"), -1);
    EXPECT_EQ(DirectoryInfoSave(Scratch("/volume1/file").c_str()), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines.size(), 1u);

    EXPECT_EQ(DirectoryInfoSave(Scratch("/volume1").c_str()), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDirSave " + Scratch("/volume1")});
    platform.results["MediaInfoDBDirSave"] = 1;
    EXPECT_EQ(DirectoryInfoSave(Scratch("/volume1").c_str()), -1);
    EXPECT_EQ(log_lines.back(), "media_record (#) Failed to save directory info to database.");
}
