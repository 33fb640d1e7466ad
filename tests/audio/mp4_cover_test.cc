// Covers of MP4 files: sizes and types, the file that is written, and each step that can fail.
#include "audio/mp4_cover.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/mp4_builder.h"
#include "audio/mp4_tags.h"
#include "audio/owner_calls.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static string Song()
{
    return Scratch("/volume1/music/Album/Song.m4a");
}

static string Cover()
{
    return Scratch("/covers/cover");
}

static string WithCover(const string &picture, uint64_t type)
{
    return Mp4File(Mp4Track(SOUND) + Mp4Items(Mp4Item("covr", picture, type)));
}

// The number of covers saved.
static uint32_t Covers(const string &content)
{
    WriteFile(Song(), content);
    platform.calls.clear();
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp4ReadTags(Song().c_str(), &record), 0);
    return record.cover_count;
}

TEST(Mp4Cover, SizesBelowWhichThereIsNoPicture)
{
    static constexpr struct {
        uint64_t type;
        size_t size;
        uint32_t count;
        const char *call;
    } cases[] = {
        {13, 0, 0, "CleanOldCover"},      {13, 9, 0, "CleanOldCover"}, {13, 10, 1, "GetCoverPath 3 1 1"},
        {14, 0, 0, "CleanOldCover"},      {14, 7, 0, "CleanOldCover"}, {14, 8, 1, "GetCoverPath 3 1 2"},
        {14, 9, 1, "GetCoverPath 3 1 2"},
    };
    for (const auto &c : cases) {
        unlink(Cover().c_str());
        string picture(c.size, 'p');
        EXPECT_EQ(Covers(WithCover(picture, c.type)), c.count) << c.type << " " << c.size;
        EXPECT_EQ(ReadFile(Cover()), c.count ? picture : "");
        EXPECT_EQ(platform.calls.back().find(c.call), 0u);
    }
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Mp4Cover, OtherTypesAreReported)
{
    for (uint64_t type : {0, 12, 21, 27}) {
        log_lines.clear();
        EXPECT_EQ(Covers(WithCover(string(100, 'p'), type)), 0u);
        EXPECT_EQ(log_lines, vector<string>{"mp4 (#) Wrong file type " + std::to_string(type) +
                                            " of cover art of " + Song() + "."});
    }
}

TEST(Mp4Cover, TheFileIsOpenToAllAndBelongsToTheMediaFilesOwner)
{
    string picture = string(100000, 'p') + string(1, '\0') + "q";
    umask(022);
    ASSERT_EQ(Covers(WithCover(picture, 13)), 1u);
    EXPECT_EQ(ReadFile(Cover()), picture);
    struct stat cover;
    struct stat media;
    ASSERT_EQ(stat(Cover().c_str(), &cover), 0);
    ASSERT_EQ(stat(Song().c_str(), &media), 0);
    EXPECT_EQ(cover.st_mode & 07777, 0777u);
    EXPECT_EQ(cover.st_uid, media.st_uid);
    EXPECT_EQ(cover.st_gid, media.st_gid);
}

TEST(Mp4Cover, AnOldCoverIsReplaced)
{
    WriteFile(Cover(), string(500, 'o'));
    ASSERT_EQ(link(Cover().c_str(), Scratch("/covers/other").c_str()), 0);
    ASSERT_EQ(Covers(WithCover(string(20, 'p'), 13)), 1u);
    EXPECT_EQ(ReadFile(Cover()), string(20, 'p'));
    EXPECT_EQ(ReadFile(Scratch("/covers/other")), string(500, 'o'));  // a new file, not the old one emptied
}

TEST(Mp4Cover, OnlyTheFirstPictureIsSaved)
{
    auto data = [](char c) { return Mp4Atom("data", BigBytes(13, 4) + ZeroBytes(4) + string(20, c)); };
    ASSERT_EQ(Covers(Mp4File(Mp4Track(SOUND) + Mp4Items(Mp4Atom("covr", data('1') + data('2'))))), 1u);
    EXPECT_EQ(ReadFile(Cover()), string(20, '1'));
}

TEST(Mp4Cover, FailedStepsLeaveNoCoverAndChangeNothingElse)
{
    string content = WithCover(string(20, 'p'), 13);
    platform.results["GetCoverPath"] = 0;
    EXPECT_EQ(Covers(content), 0u);
    EXPECT_EQ(log_lines, vector<string>{"mp4 (#) FAILED to get CoverPath of " + Song()});
    platform.results.clear();
    log_lines.clear();

    MakeFolder(Cover() + "/not-empty");  // cannot be unlinked
    EXPECT_EQ(Covers(content), 0u);
    ASSERT_EQ(log_lines.size(), 1u);
    EXPECT_EQ(log_lines[0].find("mp4 (#) FAILED to unlink :" + Cover() + ", reason="), 0u);
}

TEST(Mp4Cover, AVanishedMediaFileIsReported)
{
    WriteFile(Song(), WithCover(string(20, 'p'), 13));
    MakeFolder(Scratch("/covers"));
    MP4LibraryFile *file = MP4Read(Song().c_str(), 0);
    ASSERT_NE(file, nullptr);
    unlink(Song().c_str());
    EXPECT_EQ(Mp4SaveCoverArt(file, Song().c_str()), 0);
    MP4Close(file);
    EXPECT_EQ(log_lines,
              vector<string>{"mp4 (#) FAILED TO stat " + Song() + ", reason: No such file or directory"});
}

TEST(Mp4Cover, ACoverThatCannotBeOpenedToAllIsReported)
{
    MakeFolder(Scratch("/covers"));
    owner_calls = {true, false};
    EXPECT_EQ(Covers(WithCover(string(20, 'p'), 13)), 0u);
    owner_calls = {};
    EXPECT_EQ(log_lines,
              vector<string>{"mp4 (#) FAILED TO chmod " + Cover() + ", reason: Operation not permitted"});
}

TEST(Mp4Cover, ACoverThatCannotBeGivenAwayIsReportedWithoutAPrefix)
{
    MakeFolder(Scratch("/covers"));
    owner_calls = {false, true};
    EXPECT_EQ(Covers(WithCover(string(20, 'p'), 13)), 0u);
    owner_calls = {};
    struct stat media;
    ASSERT_EQ(stat(Song().c_str(), &media), 0);
    EXPECT_EQ(log_lines,
              vector<string>{"FAILED TO chown " + Cover() + " to uid=" + std::to_string(media.st_uid) +
                             ", gid=" + std::to_string(media.st_gid) + ", reason: Operation not permitted"});
}

TEST(Mp4Cover, AMissingFolderIsReported)
{
    WriteFile(Song(), WithCover(string(20, 'p'), 13));
    MP4LibraryFile *file = MP4Read(Song().c_str(), 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Mp4SaveCoverArt(file, Song().c_str()), 0);
    EXPECT_EQ(log_lines,
              vector<string>{"mp4 (#) FAILED TO OPEN " + Cover() + ", reason=No such file or directory"});
    log_lines.clear();
    EXPECT_EQ(Mp4SaveCoverArt(file, ""), 0);
    EXPECT_EQ(Mp4SaveCoverArt(file, nullptr), 0);
    EXPECT_EQ(Mp4SaveCoverArt(nullptr, "/x"), 0);
    EXPECT_EQ(log_lines, vector<string>(3, "mp4 (#) Bad parameters."));
    MP4Close(file);
}

// A limit of zero bytes stands in for the disk.
[[noreturn]] static void SaveOnAFullDisk(MP4LibraryFile *file)
{
    struct rlimit none = {0, 0};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &none);
    int result = Mp4SaveCoverArt(file, Song().c_str());
    bool is_logged = log_lines == vector<string>{"mp4 (#) FAILED TO WRITE PIC FILE, reason=File too large"};
    _exit(result == 0 && is_logged ? 0 : 1);
}

TEST(Mp4Cover, AFullDiskIsReported)
{
    WriteFile(Song(), WithCover(string(20, 'p'), 13));
    MakeFolder(Scratch("/covers"));
    MP4LibraryFile *file = MP4Read(Song().c_str(), 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EXIT(SaveOnAFullDisk(file), testing::ExitedWithCode(0), "");
    MP4Close(file);
}
