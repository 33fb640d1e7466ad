// Which tag gives a field of the record, and what its text means.
#include "music/mp3_merge.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <limits>
#include <memory>

#include "common/text.h"
#include "music/tag_bytes.h"
#include "support/log_capture.h"

// Everything that goes into a merge, zeroed, and the record that comes out.
struct Merge {
    MediaInfoRecord record;
    MpegAudioInfo info;
    Id3v1Tag id3v1;
    Id3v2Tag id3v2;
};

static std::unique_ptr<Merge> NewMerge()
{
    return std::make_unique<Merge>();
}

static MediaInfoRecord &Merged(const std::unique_ptr<Merge> &merge)
{
    Mp3TagMerge(&merge->record, &merge->info, &merge->id3v1, &merge->id3v2);
    return merge->record;
}

template <size_t width>
static void Put(char (&field)[width], const std::string &text)
{
    memcpy(field, text.data(), std::min(width, text.size()));
}

TEST(Mp3Merge, StreamFields)
{
    auto merge = NewMerge();
    merge->info.duration = 61.5;
    merge->info.bitrate = 192000;
    merge->info.sample_rate = 48000;
    EXPECT_EQ(Merged(merge).duration, 61.5f);
    EXPECT_EQ(merge->record.bitrate, 192000u);
    EXPECT_EQ(merge->record.frequency, 48000u);
}

TEST(Mp3Merge, DurationBelowTwelveHoursOnly)
{
    static constexpr double refused[] = {0,
                                         -1,
                                         43200.0,
                                         1e30,
                                         std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::quiet_NaN()};
    for (double duration : refused) {
        auto merge = NewMerge();
        merge->record.duration = 7;
        merge->info.duration = duration;
        EXPECT_EQ(Merged(merge).duration, 7) << duration;
    }
    auto merge = NewMerge();
    merge->info.duration = 43199.9;
    EXPECT_EQ(Merged(merge).duration, 43199.9f);
    merge->info.bitrate = -5;
    EXPECT_EQ(Merged(merge).bitrate, 0u);
}

TEST(Mp3Merge, Channels)
{
    static constexpr struct {
        int mode;
        uint32_t channels;
    } cases[] = {{-1, 0}, {0, 2}, {1, 2}, {2, 2}, {3, 1}, {4, 0}};
    for (const auto &c : cases) {
        auto merge = NewMerge();
        merge->info.mode = c.mode;
        EXPECT_EQ(Merged(merge).channels, c.channels) << c.mode;
    }
}

TEST(Mp3Merge, Id3v2WinsFieldByField)
{
    auto merge = NewMerge();
    Put(merge->id3v1.title, "old title");
    Put(merge->id3v1.artist, "old artist   ");
    Put(merge->id3v1.album, "  old album");
    Put(merge->id3v1.comment, "old comment");
    TextSet(merge->id3v2.title, "new title");
    TextSet(merge->id3v2.composer, "new composer");
    TextSet(merge->id3v2.comment, "new comment");
    MediaInfoRecord &record = Merged(merge);
    EXPECT_STREQ(record.title, "new title");
    EXPECT_STREQ(record.artist, "old artist");  // trimmed at both ends
    EXPECT_STREQ(record.album, "old album");
    EXPECT_STREQ(record.comment, "new comment");
    EXPECT_STREQ(record.composer, "new composer");
}

TEST(Mp3Merge, Id3v1TextsNeedNoTerminator)
{
    auto merge = NewMerge();
    std::string thirty(30, 'x');
    Put(merge->id3v1.title, thirty);
    Put(merge->id3v1.artist, thirty);
    Put(merge->id3v1.album, thirty);
    Put(merge->id3v1.year, "2001");
    Put(merge->id3v1.comment, thirty);
    TextSet(merge->record.title, "a default from the file name, longer than thirty letters");
    MediaInfoRecord &record = Merged(merge);
    EXPECT_EQ(record.title, thirty);
    EXPECT_EQ(record.artist, thirty);
    EXPECT_EQ(record.album, thirty);
    EXPECT_EQ(record.comment, thirty);
    EXPECT_EQ(record.year, 2001);
}

TEST(Mp3Merge, ATitleThatNoTagHasStays)
{
    auto merge = NewMerge();
    TextSet(merge->record.title, "default");
    EXPECT_STREQ(Merged(merge).title, "default");
}

TEST(Mp3Merge, Utf16TextsKeepTheirMarkAndSetTheMarker)
{
    std::string text = Bytes("\xFF\xFEg\0r\0\xFC\0n\0");
    auto merge = NewMerge();
    Put(merge->id3v2.title, text);
    Put(merge->id3v2.artist, text);
    Put(merge->id3v2.album, text);
    Put(merge->id3v2.genre, text);
    Put(merge->id3v2.composer, text);
    Put(merge->id3v2.comment, text);
    merge->id3v2.title_utf16 = merge->id3v2.artist_utf16 = merge->id3v2.album_utf16 = 1;
    merge->id3v2.genre_utf16 = merge->id3v2.composer_utf16 = merge->id3v2.comment_utf16 = 1;
    MediaInfoRecord &record = Merged(merge);
    for (const char *field :
         {record.title, record.artist, record.album, record.genre, record.composer, record.comment})
        EXPECT_EQ(std::string(field, 12), text + Bytes("\0\0"));
    for (uint32_t marker : {record.title_encoding, record.artist_encoding, record.album_encoding,
                            record.genre_encoding, record.composer_encoding, record.comment_encoding})
        EXPECT_EQ(marker, 1u);
}

TEST(Mp3Merge, AMarkedFieldOfSingleBytesComesOutEmpty)
{
    auto merge = NewMerge();
    TextSet(merge->record.title, "default");
    TextSet(merge->id3v2.title, "single bytes");
    merge->id3v2.title_utf16 = 1;
    Put(merge->id3v1.title, "not asked");
    EXPECT_STREQ(Merged(merge).title, "");
    EXPECT_EQ(merge->record.title_encoding, 1u);
}

TEST(Mp3Merge, LongTextsAreCut)
{
    auto merge = NewMerge();
    Put(merge->id3v2.title, std::string(1000, 'a'));
    std::string utf16 = Bytes("\xFE\xFF");
    for (int i = 0; i < 500; i++)
        utf16 += "ab";
    Put(merge->id3v2.artist, utf16);
    merge->id3v2.artist_utf16 = 1;
    MediaInfoRecord &record = Merged(merge);
    EXPECT_EQ(record.title, std::string(254, 'a'));
    EXPECT_EQ(std::string(record.artist, 255), utf16.substr(0, 254) + Bytes("\0"));
}

TEST(Mp3Merge, AFullGenreThatIsTakenForUtf16EndsInItsOwnField)
{
    auto merge = NewMerge();
    std::string genre = "\xFF\xFE" + std::string(125, 'g');
    Put(merge->id3v2.genre, genre);
    TextSet(merge->id3v2.track, "9999999");
    merge->id3v2.genre_utf16 = 1;
    EXPECT_STREQ(Merged(merge).genre, genre.c_str());
}

TEST(Mp3Merge, Years)
{
    static constexpr struct {
        const char *id3v2;
        const char *id3v1;
        int year;
    } cases[] = {
        {"2004", "", 2004}, {"1200", "", 1200},  {"2200", "", 2200}, {"1199", "", 0},
        {"2201", "", 0},    {"1100", "", 0},     {"2004-05", "", 0}, {" 2004", "", 2004},
        {"2004 ", "", 0},   {"abcd", "1999", 0},  // unusable is not empty
        {"", "1999", 1999}, {"", "19", 0},       {"", "", 0},        {"-2004", "", 0},
        {"9999999", "", 0}, {"+2004", "", 2004},
    };
    for (const auto &c : cases) {
        auto merge = NewMerge();
        merge->record.year = 77;
        TextSet(merge->id3v2.year, c.id3v2);
        Put(merge->id3v1.year, c.id3v1);
        EXPECT_EQ(Merged(merge).year, c.year) << c.id3v2 << "|" << c.id3v1;
    }
}

TEST(Mp3Merge, GenresOfId3v2)
{
    static constexpr struct {
        const char *text;
        const char *genre;
    } cases[] = {
        {"(17)", "Rock"},
        {"(17)Rock", "Rock"},
        {"(17)Heavy", "Rock"},  // what follows is ignored
        {"x(17)", "Rock"},      // and what precedes
        {"(0)", "Blues"},
        {"(147)", "SynthPop"},
        {"(148)", "148"},
        {"(200)", "200"},
        {"(-3)", "-3"},
        {"( 17)", "Rock"},  // blanks before a number belong to it
        {"(17 )", ""},
        {"(4)(17)", ""},  // from the first "(" to the last ")"
        {"(RX)", ""},
        {"(17)(a)", ""},
        {"(99999999999999999999)", "2147483647"},
        {"(-99999999999999999999)", "-2147483648"},
        {"Rock", "Rock"},
        {"17", "17"},
        {")17(", ")17("},
        {"(17", "(17"},
        {"17)", "17)"},
        {"()", "Blues"},  // no digits are the number 0, right up to the end
    };
    for (const auto &c : cases) {
        auto merge = NewMerge();
        TextSet(merge->id3v2.genre, c.text);
        merge->id3v1.genre = 9;  // asked only when there is no text at all
        EXPECT_STREQ(Merged(merge).genre, c.genre) << c.text;
        EXPECT_EQ(merge->record.genre_encoding, 0u);
    }
}

TEST(Mp3Merge, GenresOfId3v1)
{
    static constexpr struct {
        uint8_t number;
        const char *genre;
    } cases[] = {{0, ""}, {1, "Classic Rock"}, {147, "SynthPop"}, {148, ""}, {255, ""}};
    for (const auto &c : cases) {
        auto merge = NewMerge();
        merge->id3v1.genre = c.number;
        EXPECT_STREQ(Merged(merge).genre, c.genre) << int(c.number);
    }
}

TEST(Mp3Merge, Tracks)
{
    static const struct {
        const char *id3v2;
        std::string comment_end;  // bytes 28 and 29
        int track;
    } cases[] = {
        {"3", Bytes("\0\7"), 3}, {"", Bytes("\0\7"), 7},   {"", Bytes("\0\xFF"), 255}, {"", Bytes("\0\0"), 0},
        {"", Bytes("\0 "), 0},   {"", Bytes("a\7"), 0},    {"abc", Bytes("\0\7"), 0},  {"5th", "", 5},
        {"-2", "", -2},          {"9999999", "", 9999999},
    };
    for (const auto &c : cases) {
        auto merge = NewMerge();
        TextSet(merge->id3v2.track, c.id3v2);
        Put(merge->id3v1.comment, "x" + std::string(27, '\0') + c.comment_end);
        EXPECT_EQ(Merged(merge).track, c.track) << c.id3v2 << "|" << testing::PrintToString(c.comment_end);
    }
}

TEST(Mp3Merge, Discs)
{
    static constexpr struct {
        const char *text;
        int disc;
    } cases[] = {{"1", 1}, {"1a", 0}, {"", 0}, {"a", 0}, {" 2", 2}, {"2 ", 0}};
    for (const auto &c : cases) {
        auto merge = NewMerge();
        TextSet(merge->id3v2.disc, c.text);
        EXPECT_EQ(Merged(merge).disc, c.disc) << c.text;
    }
}

TEST(Mp3Merge, CoverCount)
{
    auto merge = NewMerge();
    merge->id3v2.cover_count = 1;
    EXPECT_EQ(Merged(merge).cover_count, 1u);
}

TEST(Mp3Merge, BadParametersChangeNothing)
{
    auto merge = NewMerge();
    merge->info.bitrate = 5;
    Mp3TagMerge(nullptr, &merge->info, &merge->id3v1, &merge->id3v2);
    Mp3TagMerge(&merge->record, nullptr, &merge->id3v1, &merge->id3v2);
    Mp3TagMerge(&merge->record, &merge->info, nullptr, &merge->id3v2);
    Mp3TagMerge(&merge->record, &merge->info, &merge->id3v1, nullptr);
    EXPECT_EQ(log_lines, std::vector<std::string>(4, "mp3_merge (#) Bad parameter."));
    EXPECT_EQ(merge->record.bitrate, 0u);
}
