// Tracks and tags of MP4 files, without the probe.
#include "audio/mp4_tags.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/mp4_builder.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static string Song()
{
    return Scratch("/volume1/music/Album/Song.m4a");
}

static MediaInfoRecord Read(const string &content, int result = 0)
{
    WriteFile(Song(), content);
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp4ReadTags(Song().c_str(), &record), result);
    return record;
}

static MediaInfoRecord ReadItems(const string &items)
{
    return Read(Mp4File(Mp4Track(SOUND) + Mp4Items(items)));
}

TEST(Mp4Tags, EveryFieldHasItsSource)
{
    MediaInfoRecord record =
        ReadItems(Mp4Item("\251nam", "Song") + Mp4Item("\251alb", "Record") + Mp4Item("\251ART", "Singer") +
                  Mp4Item("\251gen", "Jazz") + Mp4Item("\251wrt", "Writer") + Mp4Item("\251cmt", "Remark") +
                  Mp4Item("\251day", "2005") + Mp4Item("trkn", HexBytes("0000 0003 000C 0000"), 0) +
                  Mp4Item("disk", HexBytes("0000 0102 0003"), 0));
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.album, "Record");
    EXPECT_STREQ(record.artist, "Singer");
    EXPECT_STREQ(record.genre, "Jazz");
    EXPECT_STREQ(record.composer, "Writer");
    EXPECT_STREQ(record.comment, "Remark");
    EXPECT_EQ(record.year, 2005);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.disc, 258);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.bitrate, 128000u);
    EXPECT_EQ(record.container_bitrate, 0u);
    EXPECT_EQ(record.cover_count, 0u);
    EXPECT_EQ(log_lines, vector<string>{});
    EXPECT_EQ(platform.calls, (vector<string>{"GetCoverFolder", "CleanOldCover " + Scratch("/covers")}));
}

TEST(Mp4Tags, WithoutACoverFolderNothingIsCleaned)
{
    platform.results["GetCoverFolder"] = 0;
    (void)Read(Mp4File(Mp4Track(SOUND)));
    EXPECT_EQ(platform.calls, vector<string>{"GetCoverFolder"});
}

TEST(Mp4Tags, TheFirstOfTwoSoundTracksCounts)
{
    Mp4TrackSpec second = {2, "soun", 8000, 80, Mp4SoundEntry(6, Mp4EsDescriptor(5))};
    MediaInfoRecord record = Read(Mp4File(Mp4Track(SOUND) + Mp4Track(second)));
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.bitrate, 128000u);
}

TEST(Mp4Tags, TheLastOfTwoPictureTracksCountsAndItsDurationWins)
{
    Mp4TrackSpec second = {3, "vide", 1000, 7900, Mp4VideoEntry(320, 240, "")};
    MediaInfoRecord record = Read(Mp4File(Mp4Track(PICTURES) + Mp4Track(SOUND) + Mp4Track(second)));
    EXPECT_EQ(record.resolution_x, 320u);
    EXPECT_EQ(record.resolution_y, 240u);
    EXPECT_EQ(record.container_bitrate, 0u);
    EXPECT_EQ(record.duration, 7.0f);  // whole seconds
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.bitrate, 128000u);
}

TEST(Mp4Tags, PicturesAloneHaveNoSoundValues)
{
    MediaInfoRecord record = Read(Mp4File(Mp4Track(PICTURES)));
    EXPECT_EQ(record.duration, 12.0f);
    EXPECT_EQ(record.container_bitrate, 900000u);
    EXPECT_EQ(record.resolution_x, 640u);
    EXPECT_EQ(record.channels, 0u);
    EXPECT_EQ(record.frequency, 0u);
    EXPECT_EQ(record.bitrate, 0u);
}

TEST(Mp4Tags, OtherTracksCountAsTracksOnly)
{
    MediaInfoRecord record = Read(Mp4File(Mp4Track({7, "text", 1000, 5000, Mp4SoundEntry(9, "")})));
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.channels, 0u);
}

TEST(Mp4Tags, Durations)
{
    static constexpr struct {
        int version;
        uint64_t time_scale;
        uint64_t duration;
        float seconds;
        const char *reason;
    } cases[] = {
        {0, 44100, 44099, 0.0f, "whole seconds"},
        {0, 44100, 0xFFFFFFFF, 97391.0f, "a 32-bit duration of all ones is a number"},
        {1, 44100, UINT64_MAX, 0.0f, "a 64-bit one is unknown"},
        {1, 1, UINT64_MAX - 1, 18446744073709551614.0f, "the longest"},
        {1, 1000, 5000000000000, 5000000000.0f, "above 32 bits"},
        {0, 0, 1000, 0.0f, "no time scale"},
    };
    for (const auto &c : cases) {
        Mp4TrackSpec spec = SOUND;
        spec.version = c.version;
        spec.time_scale = c.time_scale;
        spec.duration = c.duration;
        MediaInfoRecord record = Read(Mp4File(Mp4Track(spec)));
        EXPECT_EQ(record.duration, c.seconds) << c.reason;
        EXPECT_EQ(record.frequency, c.time_scale) << c.reason;
    }
}

TEST(Mp4Tags, AYearIsAWholeNumber)
{
    EXPECT_EQ(ReadItems(Mp4Item("\251day", "2005-03-01")).year, 0);
    EXPECT_EQ(ReadItems(Mp4Item("\251day", "2005-03-01T00:00:00Z")).year, 0);
    EXPECT_EQ(ReadItems(Mp4Item("\251day", "")).year, 0);
    EXPECT_EQ(ReadItems(Mp4Item("\251day", "99999999999")).year, INT32_MAX);
}

TEST(Mp4Tags, GenresFromEitherAtom)
{
    static const struct {
        string items;
        const char *genre;
    } cases[] = {
        {Mp4Item("\251gen", "Own"), "Own"},
        {Mp4Item("gnre", BigBytes(1, 2), 0), "Blues"},  // counted from 1
        {Mp4Item("gnre", BigBytes(9, 2), 0), "Jazz"},
        {Mp4Item("\251gen", "Own") + Mp4Item("gnre", BigBytes(9, 2), 0), "Jazz"},
        {Mp4Item("gnre", BigBytes(0, 2), 0), ""},
        {Mp4Item("gnre", BigBytes(149, 2), 0), ""},
        {Mp4Item("gnre", BigBytes(65535, 2), 0), ""},
        {Mp4Item("gnre", BigBytes(9, 1), 0) + Mp4Item("\251gen", "Own"), "Own"},  // no number
    };
    for (const auto &c : cases)
        EXPECT_STREQ(ReadItems(c.items).genre, c.genre);
}

TEST(Mp4Tags, TextsAreTakenByteByByteWhateverTheirType)
{
    EXPECT_STREQ(ReadItems(Mp4Item("\251nam", "\xFF\xE4 x", 1)).title, "\xFF\xE4 x");
    EXPECT_STREQ(ReadItems(Mp4Item("\251nam", "Song", 0)).title, "Song");
    EXPECT_STREQ(ReadItems(Mp4Item("\251nam", string("So\0ng", 5))).title, "So");
    EXPECT_EQ(ReadItems(Mp4Item("\251nam", string(1000, 'x'))).title, string(254, 'x'));
    EXPECT_EQ(ReadItems(Mp4Item("\251nam", string(200000, 'x'))).title, string(254, 'x'));
}

TEST(Mp4Tags, OnlyTheFirstValueOfAnItemCounts)
{
    auto data = [](const string &value) { return Mp4Atom("data", BigBytes(1, 4) + ZeroBytes(4) + value); };
    EXPECT_STREQ(ReadItems(Mp4Atom("\251nam", data("one") + data("two"))).title, "one");
    EXPECT_STREQ(ReadItems(Mp4Item("\251nam", "one") + Mp4Item("\251nam", "two")).title, "one");
}

TEST(Mp4Tags, ShortNumbersAreNone)
{
    MediaInfoRecord record = ReadItems(Mp4Item("trkn", HexBytes("0000 0003 00"), 0) + Mp4Item("disk", "", 0));
    EXPECT_EQ(record.track, 0);
    EXPECT_EQ(record.disc, 0);
}

TEST(Mp4Tags, AFileThatIsNoMp4FileIsReported)
{
    string whole = Mp4File(Mp4Track(SOUND));
    for (const string &content :
         {string(), string("x"), string(1000, '\0'), string(1000, '\xFF'), whole.substr(0, 16),
          Mp4Atom("ftyp", "M4A "), Mp4Atom("moov", Mp4Track(SOUND))}) {
        log_lines.clear();
        (void)Read(content, -1);
        EXPECT_EQ(log_lines, vector<string>{"mp4:# Failed to parse mp4 metadata from [" + Song() + "]."});
    }
}

TEST(Mp4Tags, AFileWithoutTracksIsReported)
{
    string no_tables = Mp4Track(SOUND);
    no_tables.replace(no_tables.find("stsz"), 4, "free");
    string no_handler = Mp4Track(SOUND);
    no_handler.replace(no_handler.find("hdlr"), 4, "free");
    for (const string &track : {string(), no_tables, no_handler}) {
        log_lines.clear();
        (void)Read(Mp4File(track), -1);
        EXPECT_EQ(log_lines, vector<string>{"mp4 (#) No tracks in mp4."});
    }
}

TEST(Mp4Tags, SoundBehindTheMovieMayBeTruncated)
{
    string whole = Mp4File(Mp4Track(SOUND) + Mp4Items(Mp4Item("\251nam", "Song")));
    EXPECT_STREQ(Read(whole.substr(0, whole.size() - 10)).title, "Song");
}

// A new file each time: some file systems wait for the disk when one is written over.
static void ReadDamaged(const string &content)
{
    unlink(Song().c_str());
    WriteFile(Song(), content);
    MediaInfoRecord record = {};
    int result = Mp4ReadTags(Song().c_str(), &record);
    EXPECT_TRUE(result == 0 || result == -1);
}

TEST(Mp4Tags, TruncatedOrDamagedAnywhereItIsSurvived)
{
    string whole = Mp4File(Mp4Track(PICTURES) + Mp4Track(SOUND) +
                           Mp4Items(Mp4Item("\251nam", "Song") + Mp4Item("covr", string(20, 'x'), 13)));
    for (size_t i = 0; i < whole.size(); i++) {
        ReadDamaged(whole.substr(0, i));
        for (char damage : {'\x00', '\x7F'}) {
            string damaged = whole;
            damaged[i] = damage;
            ReadDamaged(damaged);
        }
    }
}

TEST(Mp4Tags, AtomsNestedWithoutEndNeitherFillTheStackNorTheMemory)
{
    static constexpr size_t DEPTH = 200000;
    string nested;
    for (size_t i = 0; i < DEPTH; i++)
        nested += BigBytes(8 * (DEPTH - i), 4) + "moov";
    (void)Read(nested, -1);

    string flat;
    for (size_t i = 0; i < DEPTH; i++)
        flat += Mp4Atom("free", "");
    (void)Read(flat + Mp4File(Mp4Track(SOUND)), -1);
    EXPECT_EQ(Read(Mp4File(Mp4Track(SOUND)) + flat).channels, 2u);
}

TEST(Mp4Tags, APipeDoesNotBlock)
{
    MakeFolder(Scratch("/volume1/music/Album"));
    ASSERT_EQ(mkfifo(Song().c_str(), 0600), 0);
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp4ReadTags(Song().c_str(), &record), -1);
}

TEST(Mp4Tags, FilesOfTheEncoder)
{
    MediaInfoRecord record = Read(ReadFile(SAMPLE_DIR "m4a-tags.m4a"));
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.album, "Record");
    EXPECT_STREQ(record.artist, "Singer");
    EXPECT_STREQ(record.genre, "Jazz");
    EXPECT_STREQ(record.composer, "Writer");
    EXPECT_STREQ(record.comment, "Remark");
    EXPECT_EQ(record.year, 2005);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.disc, 1);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.duration, 2.0f);
    EXPECT_EQ(record.bitrate, 31692u);

    EXPECT_EQ(Read(ReadFile(SAMPLE_DIR "m4a-date.m4a")).year, 0);

    record = Read(ReadFile(SAMPLE_DIR "m4a-no-tags.m4a"));
    EXPECT_STREQ(record.title, "");
    EXPECT_EQ(record.channels, 2u);

    record = Read(ReadFile(SAMPLE_DIR "m4a-two-sounds.m4a"));
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);

    record = Read(ReadFile(SAMPLE_DIR "m4a-video.m4a"));
    EXPECT_EQ(record.resolution_x, 32u);
    EXPECT_EQ(record.resolution_y, 16u);
    EXPECT_EQ(record.duration, 4.0f);
    EXPECT_EQ(record.frequency, 8000u);
    EXPECT_EQ(record.channels, 2u);  // of a mono track: the encoder states 2 for any

    record = Read(ReadFile(SAMPLE_DIR "m4a-video-only.m4a"));
    EXPECT_EQ(record.resolution_x, 64u);
    EXPECT_EQ(record.frequency, 0u);

    record = Read(ReadFile(SAMPLE_DIR "m4a-alac.m4a"));
    EXPECT_EQ(record.channels, 1u);
    EXPECT_EQ(record.bitrate, 0u);  // no elementary-stream descriptor
}
