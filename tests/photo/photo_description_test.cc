// Description files: read once, whatever stands there.
#include "photo/photo_description.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "photo/photo_test_support.h"

static constexpr char KEY[] = "NUBOPHOTO:TITLE";

static std::string Photo()
{
    return Scratch("/volume1/photo/a.jpg");
}

static std::string File()
{
    return DescriptionPath(Photo(), KEY);
}

TEST(PhotoDescription, FirstLineIsHandedOverOnceWithItsLineEnd)
{
    static const struct {
        std::string content;
        int result;
        std::string value;
    } cases[] = {
        {"Summer\n", 0, "Summer\n"},
        {"Summer\nand autumn\n", 0, "Summer\n"},
        {"Summer", 0, "Summer"},
        {"\nSummer\n", -1, "\n"},
        {"\n", -1, "\n"},
        {"", -1, ""},
        {std::string("\0Summer\n", 8), -1, ""},
        {" \n", 0, " \n"},
        {"\r\n", 0, "\r\n"},
        {"caf\xe9\n", 0, "caf\xe9\n"},
        {std::string(300, 't') + "\n", 0, std::string(254, 't')},
        {std::string(254, 't') + "\n", 0, std::string(254, 't')},
        {std::string(253, 't') + "\n", 0, std::string(253, 't') + "\n"},
    };
    for (const auto &c : cases) {
        WriteFile(File(), c.content);
        char value[255];
        memset(value, 'x', sizeof value);
        EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), c.result) << c.content;
        EXPECT_EQ(value, c.value);
        EXPECT_FALSE(std::filesystem::exists(File())) << c.content;
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoDescription, BadArgumentsAreReported)
{
    char value[8] = "kept";
    EXPECT_EQ(ReadPhotoEA(nullptr, KEY, value, sizeof value), -1);
    EXPECT_EQ(ReadPhotoEA("/a", nullptr, value, sizeof value), -1);
    EXPECT_EQ(ReadPhotoEA("/a", KEY, nullptr, 8), -1);
    EXPECT_EQ(ReadPhotoEA("/a", KEY, value, 0), -1);
    EXPECT_EQ(ReadPhotoEA("/a", KEY, value, -1), -1);
    EXPECT_EQ(log_lines, Lines(5, "photo_description:# Bad parameters."));
    EXPECT_STREQ(value, "kept");
}

TEST(PhotoDescription, MissingFileIsSilent)
{
    char value[8] = "kept";
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), -1);
    EXPECT_STREQ(value, "kept");
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoDescription, FailedPlaceIsReported)
{
    platform.results["NUBOEAPath"] = -1;
    char value[8];
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), -1);
    EXPECT_EQ(log_lines, Lines{"photo_description:# NUBOEAPath() failed."});
}

TEST(PhotoDescription, FolderInItsPlaceIsReportedAndStays)
{
    MakeFolder(File());
    char value[8];
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), -1);
    EXPECT_EQ(log_lines, Lines{"photo_description:# fgets() failed."});
    EXPECT_TRUE(std::filesystem::exists(File()));
}

TEST(PhotoDescription, LinkToAnotherFileIsNotFollowed)
{
    WriteFile(Scratch("/etc/shadow"), "secret\n");
    MakeFolder(Scratch("/volume1/photo"));
    ASSERT_EQ(symlink(Scratch("/etc/shadow").c_str(), File().c_str()), 0);
    char value[8] = "";
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), -1);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(log_lines, Lines{"photo_description:# failed to open file " + File() + "."});
}

TEST(PhotoDescription, PipeDoesNotStopTheReader)
{
    MakeFolder(Scratch("/volume1/photo"));
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    char value[8] = "";
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), -1);
    EXPECT_STREQ(value, "");
}

static size_t OpenDescriptors()
{
    auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

TEST(PhotoDescription, StreamStaysOpenAfterReading)
{
    WriteFile(File(), "Summer\n");
    size_t before = OpenDescriptors();
    char value[255];
    EXPECT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), 0);
    EXPECT_EQ(OpenDescriptors(), before + 1);
}

TEST(PhotoDescription, ThousandsOfDescriptionsDoNotUseUpTheDescriptors)
{
    size_t before = OpenDescriptors();
    char value[255];
    for (int i = 0; i < 3000; i++) {
        WriteFile(File(), "Summer\n");
        ASSERT_EQ(ReadPhotoEA(Photo().c_str(), KEY, value, sizeof value), 0) << i;
    }
    EXPECT_LE(OpenDescriptors(), before + 64);
}

TEST(PhotoDescription, FieldsAreSetOnlyFromAValue)
{
    static constexpr struct {
        int (*get)(const char *path, PhotoInfoRecord *record);
        const char *key;
        char (PhotoInfoRecord::*field)[255];
    } cases[] = {
        {GetPhotoTitle, "NUBOPHOTO:TITLE", &PhotoInfoRecord::title},
        {GetPhotoDesc, "NUBOPHOTO:DESC", &PhotoInfoRecord::description},
    };
    for (const auto &c : cases) {
        PhotoInfoRecord record = {};
        strcpy(record.*c.field, "kept");
        EXPECT_EQ(c.get(Photo().c_str(), &record), 0);
        EXPECT_STREQ(record.*c.field, "kept");

        WriteFile(DescriptionPath(Photo(), c.key), "\n");
        EXPECT_EQ(c.get(Photo().c_str(), &record), 0);
        EXPECT_STREQ(record.*c.field, "kept");
        EXPECT_FALSE(std::filesystem::exists(DescriptionPath(Photo(), c.key)));

        WriteFile(DescriptionPath(Photo(), c.key), std::string(255, 't'));
        EXPECT_EQ(c.get(Photo().c_str(), &record), 1);
        EXPECT_EQ(record.*c.field, std::string(254, 't'));

        EXPECT_EQ(c.get(nullptr, &record), 0);
        EXPECT_EQ(c.get(Photo().c_str(), nullptr), 0);
    }
    EXPECT_EQ(log_lines, Lines(4, "photo_description:# Bad parameters."));
}
