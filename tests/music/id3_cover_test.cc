// Cover files: what a picture frame must hold, and what becomes of a cover that cannot be finished.
#include "music/id3_cover.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "music/system_calls.h"
#include "music/tag_bytes.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

static const std::string PICTURE = "0123456789";

static std::string MediaPath()
{
    return Scratch("/volume1/music/a.mp3");
}

static std::string CoverPath()
{
    return Scratch("/covers/cover");
}

// Every test has a media file and a folder for its covers.
class Id3Cover : public testing::Test
{
  protected:
    void SetUp() override
    {
        WriteFile(MediaPath(), "x");
        MakeFolder(Scratch("/covers"));
        system_calls = {};
    }
};

static std::string Apic(const std::string &mime, int type, const std::string &picture,
                        const std::string &description = "")
{
    return std::string(1, '\0') + mime + std::string(1, '\0') + static_cast<char>(type) + description +
           std::string(1, '\0') + picture;
}

// Saves the picture of a frame that stands at offset 5 and claims `size` bytes.
static int Save(const std::string &data, uint32_t size, int version = 3)
{
    Mp3FileReader reader = OpenBytes("-----" + std::string(version == 2 ? 6 : 10, 'h') + data);
    int result = Id3CoverSave(&reader, 5, size, MediaPath().c_str(), 1, version);
    CloseReader(&reader);
    return result;
}

static int Save(const std::string &data, int version = 3)
{
    return Save(data, static_cast<uint32_t>(data.size()), version);
}

static bool IsThere(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

TEST_F(Id3Cover, IsWrittenWithModeAndOwner)
{
    // Works for root only; the owner is taken from the file anyway.
    int ignored = chown(MediaPath().c_str(), 1234, 2345);
    (void)ignored;
    struct stat media;
    ASSERT_EQ(stat(MediaPath().c_str(), &media), 0);
    umask(0077);
    EXPECT_EQ(Save(Apic("image/jpeg", 3, PICTURE)), 1);
    umask(0022);
    EXPECT_EQ(ReadFile(CoverPath()), PICTURE);
    struct stat cover;
    ASSERT_EQ(stat(CoverPath().c_str(), &cover), 0);
    EXPECT_EQ(cover.st_mode & 07777, 0777u);
    EXPECT_EQ(cover.st_uid, media.st_uid);
    EXPECT_EQ(cover.st_gid, media.st_gid);
    EXPECT_EQ(system_calls.last_uid, static_cast<int>(media.st_uid));
    EXPECT_EQ(platform.calls, std::vector<std::string>{"GetCoverPath 3 1 1"});
    EXPECT_TRUE(log_lines.empty());
}

TEST_F(Id3Cover, Formats)
{
    static const struct {
        const char *format;
        int version;
        int kind;  // 0: refused
    } cases[] = {
        {"image/jpeg", 3, 1}, {"image/jpg", 3, 1}, {"IMAGE/JPEG", 3, 1}, {"image/png", 4, 2},
        {"image/gif", 3, 0},  {"JPG", 3, 0},       {"", 3, 0},           {"image/jpegs", 3, 0},
        {"-->", 3, 0},        {"JPG", 2, 1},       {"png", 2, 2},        {"GIF", 2, 0},
    };
    for (const auto &c : cases) {
        platform.calls.clear();
        log_lines.clear();
        std::string data = Apic(c.format, 0, PICTURE);
        if (c.version == 2)
            data.erase(4, 1);  // no 0 byte behind three letters
        EXPECT_EQ(Save(data, c.version), c.kind ? 1 : 0) << c.format;
        std::vector<std::string> calls, lines;
        if (c.kind)
            calls = {"GetCoverPath 0 1 " + std::to_string(c.kind)};
        else
            lines = {"id3_cover (#) Wrong MIME type: " + std::string(c.format) + ", file:" + MediaPath()};
        EXPECT_EQ(platform.calls, calls) << c.format;
        EXPECT_EQ(log_lines, lines);
    }
}

TEST_F(Id3Cover, AMimeTypeHasNoMoreThan31Letters)
{
    std::string letters(40, 'm');
    EXPECT_EQ(Save(Apic(letters, 0, PICTURE)), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) Wrong MIME type: " + letters.substr(0, 31) +
                                                  ", file:" + MediaPath()});
}

TEST_F(Id3Cover, AMimeTypeMayEndWithItsFrame)
{
    std::string data = Bytes("\0image/png");
    EXPECT_EQ(Save(data + Bytes("\3\0picture!"), static_cast<uint32_t>(data.size())), 0);
    EXPECT_TRUE(log_lines.empty());  // the type is read behind the frame, and the picture is empty
    EXPECT_EQ(Save(data + Bytes("\x77"), static_cast<uint32_t>(data.size())), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) Wrong cover type: 119"});
}

TEST_F(Id3Cover, TypesUpToTwenty)
{
    EXPECT_EQ(Save(Apic("image/png", 0, PICTURE)), 1);
    EXPECT_EQ(Save(Apic("image/png", 20, PICTURE)), 1);
    EXPECT_EQ(Save(Apic("image/png", 21, PICTURE)), 0);
    EXPECT_EQ(Save(Apic("image/png", 255, PICTURE)), 0);
    EXPECT_EQ(log_lines, (std::vector<std::string>{"id3_cover (#) Wrong cover type: 21",
                                                   "id3_cover (#) Wrong cover type: 255"}));
}

TEST_F(Id3Cover, ADescriptionEndsAtItsFirstZero)
{
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE, "front cover")), 1);
    EXPECT_EQ(ReadFile(CoverPath()), PICTURE);
    // Two zeros end a UTF-16 description; the second one is taken as the picture's first byte.
    EXPECT_EQ(Save(Bytes("\1image/png\0\3\xFF\xFE\0\0") + PICTURE), 1);
    EXPECT_EQ(ReadFile(CoverPath()), Bytes("\0") + PICTURE);
    EXPECT_EQ(Save(Bytes("\0image/png\0\3no end") + PICTURE), 0);
    EXPECT_TRUE(log_lines.empty());
}

TEST_F(Id3Cover, TooSmallPicturesAreDroppedSilently)
{
    EXPECT_EQ(Save(Apic("image/jpeg", 3, "123456789")), 0);
    EXPECT_EQ(Save(Apic("image/png", 3, "1234567")), 0);
    EXPECT_FALSE(IsThere(CoverPath()));
    EXPECT_TRUE(platform.calls.empty());
    EXPECT_TRUE(log_lines.empty());
    EXPECT_EQ(Save(Apic("image/jpeg", 3, "1234567890")), 1);
    EXPECT_EQ(Save(Apic("image/png", 3, "12345678")), 1);
}

TEST_F(Id3Cover, AnOlderCoverIsReplaced)
{
    WriteFile(CoverPath(), "something that is longer than the new picture");
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 1);
    EXPECT_EQ(ReadFile(CoverPath()), PICTURE);
}

TEST_F(Id3Cover, LargePicturesAreCopiedWhole)
{
    std::string picture;
    for (int i = 0; i < 300000; i++)
        picture += static_cast<char>(i * 7 + i / 256);
    EXPECT_EQ(Save(Apic("image/png", 3, picture)), 1);
    EXPECT_EQ(ReadFile(CoverPath()), picture);
}

TEST_F(Id3Cover, AFrameLongerThanTheFileIsFilledUp)
{
    std::string data = Apic("image/png", 3, PICTURE);
    EXPECT_EQ(Save(data, static_cast<uint32_t>(data.size()) + 20000), 1);
    EXPECT_EQ(ReadFile(CoverPath()), PICTURE + std::string(20000, 17));
    // Nothing of the frame is in the file: the missing bytes make no image format.
    EXPECT_EQ(Save("", 5), 0);
    EXPECT_EQ(log_lines.size(), 1u);
}

TEST_F(Id3Cover, NoPathNoCover)
{
    platform.results["GetCoverPath"] = 0;
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) FAILED to get CoverPath :" + MediaPath()});
}

TEST_F(Id3Cover, AnOldCoverThatCannotBeRemoved)
{
    MakeFolder(CoverPath());
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) FAILED to unlink :" + CoverPath() +
                                                  ",  reason=Is a directory"});
}

TEST_F(Id3Cover, ACoverThatCannotBeCreated)
{
    rmdir(Scratch("/covers").c_str());
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) FAILED TO OPEN " + CoverPath() +
                                                  ", reason=No such file or directory"});
}

TEST_F(Id3Cover, AFullDiskLeavesNoPartOfACover)
{
    std::string data = Apic("image/png", 3, std::string(100000, 'p'));
    Mp3FileReader reader = OpenBytes(std::string(10, 'h') + data);
    struct rlimit limit, small;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    small = limit;
    small.rlim_cur = 40000;
    signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    int result = Id3CoverSave(&reader, 0, static_cast<uint32_t>(data.size()), MediaPath().c_str(), 1, 3);
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_DFL);
    CloseReader(&reader);
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(IsThere(CoverPath()));
    EXPECT_EQ(log_lines,
              std::vector<std::string>{"id3_cover (#) FAILED TO WRITE PIC FILE, reason=File too large"});
}

TEST_F(Id3Cover, AMediaFileThatVanished)
{
    unlink(MediaPath().c_str());
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_FALSE(IsThere(CoverPath()));
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) FAILED TO stat " + MediaPath() +
                                                  ", reason: No such file or directory"});
}

TEST_F(Id3Cover, AFailedChmodRemovesTheCover)
{
    system_calls.chmod_fails = true;
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_FALSE(IsThere(CoverPath()));
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3_cover (#) FAILED TO chmod " + CoverPath() +
                                                  ", reason: Operation not permitted"});
}

TEST_F(Id3Cover, AFailedChownRemovesTheCoverAndLogsWithoutAPrefix)
{
    system_calls.chown_fails = true;
    EXPECT_EQ(Save(Apic("image/png", 3, PICTURE)), 0);
    EXPECT_FALSE(IsThere(CoverPath()));
    EXPECT_EQ(log_lines, std::vector<std::string>{"FAILED TO chown " + CoverPath() +
                                                  " to uid=" + std::to_string(system_calls.last_uid) +
                                                  ", gid=" + std::to_string(system_calls.last_gid) +
                                                  ", reason: Operation not permitted"});
}

TEST_F(Id3Cover, BadParameters)
{
    Mp3FileReader reader = OpenBytes("");
    EXPECT_EQ(Id3CoverSave(nullptr, 0, 10, "/a", 1, 3), 0);
    EXPECT_EQ(Id3CoverSave(&reader, 0, 10, nullptr, 1, 3), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>(2, "id3_cover (#) Bad parameters."));
    CloseReader(&reader);
}
