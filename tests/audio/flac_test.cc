// FLAC handler: stream information, comments, defaults, and what is stored after a failure.
#include "audio/flac.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/byte_builder.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static string Block(int type, bool is_last, const string &data)
{
    return BigBytes(static_cast<uint64_t>(type | (is_last ? 0x80 : 0)), 1) + BigBytes(data.size(), 3) + data;
}

static string StreamInfo(uint64_t rate, uint64_t channels, uint64_t samples, bool is_last = false)
{
    return Block(0, is_last,
                 BigBytes(4096, 2) + BigBytes(4096, 2) + ZeroBytes(6) +
                     BigBytes(rate << 44 | (channels - 1) << 41 | 15ull << 36 | samples, 8) + ZeroBytes(16));
}

static string Comments(const vector<string> &comments, bool is_last = true)
{
    string data = LittleBytes(4, 4) + "test" + LittleBytes(comments.size(), 4);
    for (const string &comment : comments)
        data += LittleBytes(comment.size(), 4) + comment;
    return Block(4, is_last, data);
}

static string Flac(const vector<string> &comments)
{
    return "fLaC" + StreamInfo(44100, 2, 441000) + Comments(comments);
}

// Adds the file as Artist/Album/01 Song.flac; the stored record.
static MediaInfoRecord Added(const string &content, int result = 0)
{
    string path = Scratch("/volume1/music/Album/01 Song.flac");
    WriteFile(path, content);
    EXPECT_EQ(FlacIndexAdd(path.c_str()), result);
    EXPECT_FALSE(platform.saved.empty());
    return platform.saved.empty() ? MediaInfoRecord{} : platform.saved.back();
}

TEST(Flac, EveryFieldHasItsSource)
{
    string content =
        Flac({"TITLE=Song", "ARTIST=Singer", "ALBUM=Record", "DATE=2004", "GENRE=Jazz", "TRACKNUMBER=3/12"});
    MediaInfoRecord record = Added(content);
    EXPECT_EQ(record.path, Scratch("/volume1/music/Album/01 Song.flac"));
    EXPECT_EQ(record.filesize, content.size());
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.artist, "Singer");
    EXPECT_STREQ(record.album, "Record");
    EXPECT_STREQ(record.genre, "Jazz");
    EXPECT_EQ(record.year, 2004);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.bitrate, content.size() * 8 / 10);
    EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    EXPECT_STREQ(record.modify_time, "2000-01-02 03:04:05");
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Flac, GoesToTheDatabaseWithoutMediaInfoValid)
{
    string path = Scratch("/volume1/music/a.flac");
    WriteFile(path, Flac({}));
    EXPECT_EQ(FlacIndexAdd(path.c_str()), 0);
    EXPECT_EQ(platform.calls, vector<string>{"MediaInfoDBSave 0 " + path});
}

TEST(Flac, KeysIgnoreCaseAndTheLastOneWins)
{
    MediaInfoRecord record = Added(Flac({"title=Song", "Title=Other", "aRtIsT=x"}));
    EXPECT_STREQ(record.title, "Other");
    EXPECT_STREQ(record.artist, "x");
}

TEST(Flac, AnEmptyOrForeignCommentLeavesTheDefaults)
{
    MediaInfoRecord record = Added(Flac({"TITLE=", "TITLE", "", "ALBUM=", "TITLES=x", "ALBUMARTIST=y", "=z"}));
    EXPECT_STREQ(record.title, "01 Song");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_STREQ(record.artist, "");
}

TEST(Flac, LongTextsAreCutAt254Bytes)
{
    MediaInfoRecord record = Added(Flac({"TITLE=" + string(5000, 'x'), "GENRE=" + string(254, 'y')}));
    EXPECT_EQ(record.title, string(254, 'x'));
    EXPECT_EQ(record.genre, string(254, 'y'));
}

TEST(Flac, TextsAreStoredByteByByte)
{
    MediaInfoRecord record = Added(Flac({"TITLE=\xFF\xFE\x80 x", string("ARTIST=a\0b", 10)}));
    EXPECT_STREQ(record.title, "\xFF\xFE\x80 x");
    EXPECT_STREQ(record.artist, "a");
}

TEST(Flac, AYearIsAWholeNumber)
{
    static constexpr struct {
        const char *date;
        int year;
    } cases[] = {
        {"2004", 2004},
        {"2004-05-01", 0},
        {" 2004", 2004},
        {"2004 ", 0},
        {"-7", -7},
        {"x", 0},
        {"99999999999999999999", INT32_MAX},
        {"-99999999999999999999", INT32_MIN},
    };
    for (const auto &c : cases) {
        platform.saved.clear();
        EXPECT_EQ(Added(Flac({string("DATE=") + c.date})).year, c.year) << c.date;
    }
}

TEST(Flac, ATrackIsALeadingNumber)
{
    static constexpr struct {
        const char *text;
        int track;
    } cases[] = {{"3/12", 3}, {"007", 7}, {"A1", 0}, {" 5", 5}, {"4294967297", INT32_MAX}};
    for (const auto &c : cases) {
        platform.saved.clear();
        EXPECT_EQ(Added(Flac({string("TRACKNUMBER=") + c.text})).track, c.track) << c.text;
    }
}

TEST(Flac, StreamValues)
{
    static constexpr struct {
        uint64_t rate;
        uint64_t samples;
        float duration;
        bool has_bitrate;
        const char *reason;
    } cases[] = {
        {44100, 44099, 0.0f, true, "whole seconds, but the bit rate knows the fraction"},
        {44100, 44100, 1.0f, true, "a second"},
        {44100, 0, 0.0f, false, "an unknown length"},
        {655350, (1ull << 36) - 1, 104859.0f, true, "the longest possible"},
    };
    for (const auto &c : cases) {
        platform.saved.clear();
        string content = "fLaC" + StreamInfo(c.rate, 1, c.samples) + Comments({});
        MediaInfoRecord record = Added(content);
        EXPECT_EQ(record.duration, c.duration) << c.reason;
        EXPECT_EQ(record.frequency, c.rate) << c.reason;
        EXPECT_EQ(record.channels, 1u) << c.reason;
        uint32_t bitrate = 0;
        if (c.has_bitrate) {
            float seconds = static_cast<float>(c.samples) / static_cast<float>(c.rate);
            bitrate =
                static_cast<uint32_t>(static_cast<double>(content.size()) * 8 / static_cast<double>(seconds));
        }
        EXPECT_EQ(record.bitrate, bitrate) << c.reason;
    }
}

TEST(Flac, TheFileSizeIsRoundedToSinglePrecision)
{
    // 2^24 + 1 bytes are 2^24 in single precision: 134217728 bits in one second, not 134217736.
    string content = "fLaC" + StreamInfo(44100, 2, 44100) + Comments({});
    content.resize((1u << 24) + 1);
    EXPECT_EQ(Added(content).bitrate, 134217728u);
}

TEST(Flac, ABitRateThatDoesNotFitIsPinned)
{
    string path = Scratch("/volume1/music/a.flac");
    WriteFile(path, "fLaC" + StreamInfo(655350, 2, 1) + Comments({}));
    ASSERT_EQ(truncate(path.c_str(), 1 << 20), 0);
    EXPECT_EQ(FlacIndexAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).bitrate, UINT32_MAX);
}

TEST(Flac, SampleRateZeroGivesNoTimeAndNoBitRate)
{
    MediaInfoRecord record = {};
    string path = Scratch("/volume1/music/a.flac");
    WriteFile(path, "fLaC" + StreamInfo(0, 2, 44100) + Comments({}));
    record.duration = 5;
    record.bitrate = 5;
    EXPECT_EQ(FlacMetaParse(path.c_str(), &record), 0);
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.bitrate, 0u);
    EXPECT_EQ(record.channels, 2u);
}

TEST(Flac, BlocksMayComeInAnyOrderBehindATagOfAnotherFormat)
{
    string id3 = string("ID3\x04\0\0", 6) + BigBytes(10, 4) + ZeroBytes(10);
    MediaInfoRecord record =
        Added(id3 + "fLaC" + StreamInfo(48000, 2, 96000) + Block(1, false, ZeroBytes(100)) +
              Block(6, false, ZeroBytes(32)) + Comments({"TITLE=Song"}));
    EXPECT_STREQ(record.title, "Song");
    EXPECT_EQ(record.duration, 2.0f);
}

TEST(Flac, WithoutCommentsTheStreamFieldsAreStored)
{
    string path = Scratch("/volume1/music/Album/01 Song.flac");
    MediaInfoRecord record = Added("fLaC" + StreamInfo(44100, 2, 88200, true), 1);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, 2.0f);
    EXPECT_STREQ(record.title, "01 Song");
    EXPECT_EQ(log_lines, (vector<string>{"flac (#) Can't get Flac comment tags: " + path + ".",
                                         "flac (#) Failed to parse music metadata."}));
}

TEST(Flac, AnUnreadableFileIsStoredWithItsDefaults)
{
    string whole = Flac({"TITLE=Song"});
    for (const string &content : {string(), string("fLaC"), whole.substr(0, 20), whole.substr(0, 41),
                                  string(100000, '\xFF'), "RIFF" + ZeroBytes(100)}) {
        platform.saved.clear();
        log_lines.clear();
        string path = Scratch("/volume1/music/Album/01 Song.flac");
        MediaInfoRecord record = Added(content, 1);
        EXPECT_STREQ(record.title, "01 Song");
        EXPECT_STREQ(record.album, "Album");
        EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
        EXPECT_EQ(record.filesize, content.size());
        EXPECT_EQ(record.channels, 0u);
        EXPECT_EQ(log_lines, (vector<string>{"flac (#) Can't get Flac stream info: " + path + ".",
                                             "flac (#) Failed to parse music metadata."}));
    }
}

TEST(Flac, TruncatedAnywhereItIsStored)
{
    string whole = Flac({"TITLE=Song", "ARTIST=Singer"});
    for (size_t length = 0; length < whole.size(); length++) {
        platform.saved.clear();
        (void)Added(whole.substr(0, length), 1);
    }
}

TEST(Flac, ACommentCountFarAboveTheBlockIsHarmless)
{
    string block = LittleBytes(4, 4) + "test" + LittleBytes(0xFFFFFFFF, 4) + LittleBytes(7, 4) + "TITLE=x";
    string path = Scratch("/volume1/music/Album/01 Song.flac");
    WriteFile(path, "fLaC" + StreamInfo(44100, 2, 44100) + Block(4, true, block));
    EXPECT_GE(FlacIndexAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.size(), 1u);
}

TEST(Flac, AFailedSaveKeepsTheOutcomeOfTheParse)
{
    platform.results["MediaInfoDBSave"] = -1;
    (void)Added(Flac({}), -1);
    EXPECT_EQ(log_lines, vector<string>{"flac (#) Failed to save media info to database."});
    platform.saved.clear();
    (void)Added("junk", 1);
}

TEST(Flac, BadParametersAndMissingFiles)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(FlacIndexAdd(nullptr), -1);
    EXPECT_EQ(FlacIndexAdd(""), -1);
    EXPECT_EQ(FlacMetaParse(nullptr, &record), -1);
    EXPECT_EQ(FlacMetaParse("", &record), -1);
    EXPECT_EQ(log_lines, vector<string>(4, "flac (#) Bad parameter."));
    log_lines.clear();

    EXPECT_EQ(FlacIndexAdd(Scratch("/volume1/none.flac").c_str()), -1);
    EXPECT_EQ(FlacIndexAdd(Scratch("/volume1").c_str()), -1);
    EXPECT_EQ(log_lines, vector<string>{});
    EXPECT_EQ(platform.calls, vector<string>{});

    EXPECT_EQ(FlacMetaParse(Scratch("/volume1").c_str(), &record), -1);
    EXPECT_EQ(log_lines, vector<string>{"flac (#) Stat file error: " + Scratch("/volume1") + "."});
}

TEST(Flac, AFolderNameThatDoesNotFitIsReported)
{
    string path = Scratch("/volume1/" + string(255, 'd') + "/a.flac");
    WriteFile(path, Flac({}));
    EXPECT_EQ(FlacIndexAdd(path.c_str()), 0);
    EXPECT_EQ(log_lines, vector<string>{"flac (#) Impossible error."});
    EXPECT_EQ(platform.saved.at(0).album, string(254, 'd'));
}

TEST(Flac, FilesOfTheEncoder)
{
    MediaInfoRecord record = Added(ReadFile(SAMPLE_DIR "flac-tags.flac"));
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.artist, "Singer");
    EXPECT_STREQ(record.album, "Record");
    EXPECT_STREQ(record.genre, "Jazz");
    EXPECT_EQ(record.year, 2004);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.channels, 1u);
    EXPECT_EQ(record.frequency, 8000u);
    EXPECT_EQ(record.duration, 1.0f);  // of 1.5 s
    EXPECT_EQ(record.bitrate, static_cast<uint32_t>(static_cast<double>(record.filesize) * 8 / 1.5));

    record = Added(ReadFile(SAMPLE_DIR "flac-date.flac"));
    EXPECT_STREQ(record.title, "01 Song");
    EXPECT_EQ(record.year, 0);

    record = Added(ReadFile(SAMPLE_DIR "flac-no-comments.flac"), 1);
    EXPECT_EQ(record.frequency, 8000u);
}
