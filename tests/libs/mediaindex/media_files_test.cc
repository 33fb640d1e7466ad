// Extensions, classes and times.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include <string>

#include "platform/media_index.h"
#include "support/scratch.h"

TEST(MediaFiles, TheExtensionIsWhatFollowsTheLastDotOfTheName)
{
    static constexpr struct {
        const char *path;
        const char *ext;  // null: none
    } cases[] = {
        {"/volume1/music/Song.MP3", "MP3"},
        {"/x/a.tar.mp3", "mp3"},
        {"a.b", "b"},
        {"/x/.hidden", "hidden"},
        {"/x/name", nullptr},
        {"/x.mp3/name", nullptr},  // a folder's dot does not count
        {"/x/name.", ""},
        {"/x.y/", nullptr},
        {"", nullptr},
        {nullptr, nullptr},
        {"/x/\xff.\xfe", "\xfe"},
    };
    for (const auto &c : cases)
        EXPECT_STREQ(NUBOIndexExtGet(c.path), c.ext) << (c.path ? c.path : "null");
}

TEST(MediaFiles, Classes)
{
    static constexpr struct {
        const char *ext;
        bool jpeg, web_photo, web_video, video;
    } cases[] = {
        {"jpg", true, true, false, false},     {"JPEG", true, true, false, false},
        {"Jpe", true, true, false, false},     {"png", false, true, false, false},
        {"gif", false, true, false, false},    {"bmp", false, true, false, false},
        {"ico", false, true, false, false},    {"psd", false, true, false, false},
        {"tif", false, true, false, false},    {"tiff", false, true, false, false},
        {"ufo", false, false, false, false},   {"flv", false, false, true, true},
        {"MP4", false, false, true, true},     {"m4v", false, false, true, true},
        {"avi", false, false, false, true},    {"dvr-ms", false, false, false, true},
        {"dat", false, false, false, true},    {"tp", false, false, false, true},
        {"iso", false, false, false, false},   {"srt", false, false, false, false},
        {"mp3", false, false, false, false},   {"", false, false, false, false},
        {"jp", false, false, false, false},    {"jpgx", false, false, false, false},
        {nullptr, false, false, false, false},
    };
    for (const auto &c : cases) {
        const char *name = c.ext ? c.ext : "null";
        EXPECT_EQ(BlNUBOIndexIsJpeg(c.ext) != 0, c.jpeg) << name;
        EXPECT_EQ(BlNUBOIndexIsPhotoOnWeb(c.ext) != 0, c.web_photo) << name;
        EXPECT_EQ(BlNUBOIndexIsVideoOnWeb(c.ext) != 0, c.web_video) << name;
        EXPECT_EQ(BlNUBOIndexIsVideo(c.ext) != 0, c.video) << name;
    }
}

TEST(MediaFiles, EveryProbedVideoExtensionIsAVideo)
{
    for (const char *ext : {"avi",  "mpg", "mpeg", "dat",  "asf", "wmv", "vob",    "mov",  "rm",
                            "rmvb", "mp4", "divx", "xvid", "flv", "mkv", "ts",     "m2ts", "m2t",
                            "mts",  "m4v", "3gp",  "3g2",  "qt",  "swf", "dvr-ms", "trp",  "tp"})
        EXPECT_TRUE(BlNUBOIndexIsVideo(ext)) << ext;
}

TEST(MediaFiles, ClassesByPath)
{
    EXPECT_TRUE(BlNUBOIndexIsPhotoOnWebFile("/volume1/photo/a.b/c.JPG"));
    EXPECT_FALSE(BlNUBOIndexIsPhotoOnWebFile("/volume1/photo/a.jpg/c"));
    EXPECT_FALSE(BlNUBOIndexIsPhotoOnWebFile(nullptr));
    EXPECT_TRUE(BlNUBOIndexIsVideoOnWebFile("/volume1/video/c.flv"));
    EXPECT_FALSE(BlNUBOIndexIsVideoOnWebFile("/volume1/video/c.avi"));
    EXPECT_FALSE(BlNUBOIndexIsVideoOnWebFile("flv"));
    EXPECT_FALSE(BlNUBOIndexIsVideoOnWebFile(nullptr));
}

TEST(MediaFiles, TimesAreLocal)
{
    std::string path = Scratch("/a.mp3");
    WriteFile(path, "x");
    struct timespec times[2] = {{1, 0}, {1234567890, 999999999}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    setenv("TZ", "XXX-2", 1);
    tzset();
    char changed[32];
    char modified[32];
    EXPECT_EQ(NUBOIndexCTimeMTimeGet(path.c_str(), changed, 32, modified, 32), 0);
    EXPECT_STREQ(modified, "2009-02-14 01:31:30");  // 23:31:30 UTC
    time_t now = time(nullptr);
    struct tm parts = {};
    ASSERT_NE(strptime(changed, "%Y-%m-%d %H:%M:%S", &parts), nullptr) << changed;
    parts.tm_isdst = -1;
    EXPECT_NEAR(static_cast<double>(mktime(&parts)), static_cast<double>(now), 3);
    unsetenv("TZ");
    tzset();
}

TEST(MediaFiles, TimesOfNothingAreEmpty)
{
    char changed[32] = "x";
    char modified[32] = "x";
    EXPECT_NE(NUBOIndexCTimeMTimeGet(Scratch("/none").c_str(), changed, 32, modified, 32), 0);
    EXPECT_STREQ(changed, "");
    EXPECT_STREQ(modified, "");
    EXPECT_NE(NUBOIndexCTimeMTimeGet(nullptr, changed, 32, modified, 32), 0);
    EXPECT_NE(NUBOIndexCTimeMTimeGet("/", nullptr, 32, modified, 32), 0);
    EXPECT_NE(NUBOIndexCTimeMTimeGet("/", changed, 32, nullptr, 32), 0);
    EXPECT_NE(NUBOIndexCTimeMTimeGet("/", changed, 0, modified, 32), 0);
}

TEST(MediaFiles, ATimeThatDoesNotFitIsEmptyNotCut)
{
    char changed[20];
    char modified[19];
    EXPECT_NE(NUBOIndexCTimeMTimeGet("/", changed, sizeof changed, modified, sizeof modified), 0);
    EXPECT_EQ(strlen(changed), 19u);
    EXPECT_STREQ(modified, "");
}
