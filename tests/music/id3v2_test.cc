// ID3v2 tags of all versions, their oddities included.
#include "music/id3v2.h"

#include <gtest/gtest.h>

#include <memory>

#include "music/tag_bytes.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

static std::unique_ptr<Id3v2Tag> ReadTag(const std::string &file)
{
    auto tag = std::make_unique<Id3v2Tag>();
    Mp3FileReader reader = OpenBytes(file);
    int version = 0;
    if (Id3v2Size(&reader, &version) > 0) {
        if (version == 2)
            Id3v22Read(tag.get(), &reader, 2, "/volume1/music/a.mp3");
        else
            Id3v2Read(tag.get(), &reader, version, "/volume1/music/a.mp3");
    }
    CloseReader(&reader);
    return tag;
}

static std::unique_ptr<Id3v2Tag> ReadFrames(const std::string &frames)
{
    return ReadTag(Tag(3, frames));
}

TEST(Id3v2Size, HeaderIncludedAndFlagsIgnored)
{
    int version = 0;
    Mp3FileReader reader = OpenBytes(Bytes("ID3\4\0\xFF\0\0\2\1"));
    EXPECT_EQ(Id3v2Size(&reader, &version), 267);
    EXPECT_EQ(version, 4);
    CloseReader(&reader);
}

TEST(Id3v2Size, NoneWithoutItsMark)
{
    for (const char *text : {"", "ID", "id3\3\1\1\1\1\1\1", "xID3\3\1\1\1\1\1"}) {
        int version = 0;
        Mp3FileReader reader = OpenBytes(text);
        EXPECT_EQ(Id3v2Size(&reader, &version), 0) << text;
        CloseReader(&reader);
    }
}

TEST(Id3v2Size, TopBitsAreNotMasked)
{
    int version = 0;
    Mp3FileReader reader = OpenBytes(Bytes("ID3\3\0\0\xFF\xFF\xFF\xFF"));
    EXPECT_EQ(Id3v2Size(&reader, &version), (0xFF << 21 | 0xFF << 14 | 0xFF << 7 | 0xFF) + 10);
    CloseReader(&reader);
}

TEST(Id3v2, EveryField)
{
    static const struct {
        const char *id, *id22;
        size_t field;
    } rows[] = {
        {"TIT2", "TT2", offsetof(Id3v2Tag, title)},   {"TPE1", "TP1", offsetof(Id3v2Tag, artist)},
        {"TALB", "TAL", offsetof(Id3v2Tag, album)},   {"TYER", "TYE", offsetof(Id3v2Tag, year)},
        {"TCON", "TCO", offsetof(Id3v2Tag, genre)},   {"TRCK", "TRK", offsetof(Id3v2Tag, track)},
        {"TPOS", "TPA", offsetof(Id3v2Tag, disc)},    {"TCOM", "TCM", offsetof(Id3v2Tag, composer)},
        {"COMM", "COM", offsetof(Id3v2Tag, comment)},
    };
    std::string frames23, frames24, frames22;
    for (const auto &row : rows) {
        std::string text = std::string(row.id22) + "!";
        std::string data = row.id22 == std::string("COM") ? Comment(text) : Latin(text);
        frames23 += Frame23(row.id, data);
        frames24 += Frame24(row.id, data);
        if (row.id22 != std::string("COM"))
            frames22 += Frame22(row.id22, data);
    }
    // In 2.2 the text of a comment starts behind the 0 byte as well.
    frames22 += Frame22("COM", Comment("COM!"));
    for (const std::string &file : {Tag(3, frames23), Tag(4, frames24), Tag(2, frames22), Tag(5, frames24)}) {
        auto tag = ReadTag(file);
        for (const auto &row : rows)
            EXPECT_EQ(reinterpret_cast<char *>(tag.get()) + row.field, std::string(row.id22) + "!")
                << row.id << " version " << int(file[3]);
        EXPECT_EQ(tag->title_utf16 | tag->artist_utf16 | tag->album_utf16 | tag->genre_utf16, 0u);
    }
}

TEST(Id3v2, IdsIgnoreCase)
{
    EXPECT_STREQ(ReadFrames(Frame23("Tit2", Latin("a")))->title, "a");
    EXPECT_STREQ(ReadTag(Tag(2, Frame22("Tt2", Latin("a"))))->title, "a");
    EXPECT_STREQ(ReadFrames(Frame23("tit2", Latin("a")))->title, "");  // a small first letter ends the walk
}

TEST(Id3v2, Version3SizesArePlainAllOthersSevenBit)
{
    std::string text(200, 'a');
    EXPECT_EQ(ReadTag(Tag(3, Frame23("TIT2", Latin(text))))->title, text);
    EXPECT_EQ(ReadTag(Tag(4, Frame24("TIT2", Latin(text))))->title, text);
    // 201 in plain bytes is 0xC9; read as seven bits it is 201 too, because nothing is masked.
    EXPECT_EQ(ReadTag(Tag(4, Frame23("TIT2", Latin(text))))->title, text);
    // 300 is 0x012C: 172 in seven bits.
    EXPECT_EQ(ReadTag(Tag(4, Frame23("TIT2", Latin(std::string(299, 'a')))))->title, std::string(171, 'a'));
}

TEST(Id3v2, TheLastOfAnyFrameWinsButTheFirstComment)
{
    auto tag = ReadFrames(Frame23("TIT2", Latin("one")) + Frame23("COMM", Comment("first")) +
                          Frame23("TIT2", Latin("two")) + Frame23("COMM", Comment("second")));
    EXPECT_STREQ(tag->title, "two");
    EXPECT_STREQ(tag->comment, "first");
    tag = ReadFrames(Frame23("COMM", Comment("")) + Frame23("COMM", Comment("second")));
    EXPECT_STREQ(tag->comment, "second");  // an empty one does not count
    tag = ReadFrames(Frame23("TIT2", Latin("one")) + Frame23("TIT2", Latin("")));
    EXPECT_STREQ(tag->title, "one");  // no byte of text: nothing is stored
}

TEST(Id3v2, NumbersAreCutAtTheSlash)
{
    auto tag = ReadFrames(Frame23("TRCK", Latin("3/12")) + Frame23("TPOS", Latin("/2")));
    EXPECT_STREQ(tag->track, "3");
    EXPECT_STREQ(tag->disc, "");
    tag = ReadFrames(Frame23("TRCK", Latin("0000012345/1")));
    EXPECT_STREQ(tag->track, "0000012");  // eight bytes
    tag = ReadFrames(Frame23("TRCK", Bytes("\1\xFF\xFE"
                                           "3\0/\0")));
    EXPECT_STREQ(tag->track, "\xFF\xFE"
                             "3");  // never taken as UTF-16
}

TEST(Id3v2, CommentsSkipLanguageAndDescription)
{
    EXPECT_STREQ(ReadFrames(Frame23("COMM", Comment("text", "short")))->comment, "text");
    EXPECT_STREQ(ReadTag(Tag(2, Frame22("COM", Comment("text", "short"))))->comment, "text");
    // No 0 byte within the frame; the one behind it must not serve.
    auto tag = ReadFrames(Frame23("COMM", Bytes("\0eng") + "endless") + Frame23("TIT2", Latin("t")));
    EXPECT_STREQ(tag->comment, "");
    EXPECT_STREQ(tag->title, "t");
    EXPECT_STREQ(ReadFrames(Frame23("COMM", Bytes("\0en")))->comment, "");  // shorter than its language
    EXPECT_STREQ(ReadFrames(Frame23("COMM", ""))->comment, "");
}

// In UTF-16 the description's first letter has a 0 byte, so what follows is no longer UTF-16 with a mark.
TEST(Id3v2, AUtf16DescriptionEndsAtItsFirstSingleZero)
{
    auto tag = ReadFrames(Frame23("COMM", Bytes("\1eng\xFF\xFE\0\0\xFF\xFEh\0i\0")));
    EXPECT_STREQ(tag->comment, "");
    EXPECT_EQ(tag->comment_utf16, 0u);
    tag = ReadFrames(Frame23("COMM", Bytes("\1eng\xFF\xFE"
                                           "d\0x\0\0\0\xFF\xFEh\0")));
    EXPECT_STREQ(tag->comment, "x");
    tag = ReadFrames(Frame23("COMM", Bytes("\1eng\0\xFF\xFEh\0i\0")));
    EXPECT_EQ(std::string(tag->comment, 6), Bytes("\xFF\xFEh\0i\0"));
    EXPECT_EQ(tag->comment_utf16, 1u);
}

TEST(Id3v2, Encodings)
{
    static const struct {
        std::string data;
        std::string title;
        uint32_t is_utf16;
    } cases[] = {
        {Bytes("\0caf\xE9"), Bytes("caf\xE9\0"), 0},
        {Bytes("\3caf\xC3\xA9"), Bytes("caf\xC3\xA9\0"), 0},
        {Bytes("\1\xFF\xFE\xE9\0a\0"), Bytes("\xFF\xFE\xE9\0a\0\0\0"), 1},
        {Bytes("\1\xFE\xFF\0\xE9\0a"), Bytes("\xFE\xFF\0\xE9\0a\0\0"), 1},
        {Bytes("\2\0\xE9\0a"), Bytes("\xFE\xFF\0\xE9\0a\0\0"), 1},      // the mark is added
        {Bytes("\2\xFF\xFEx\0"), Bytes("\xFE\xFF\xFF\xFEx\0\0\0"), 1},  // even before another
        {Bytes("\1a\0b\0"), Bytes("a\0\0"), 0},                         // no mark: single bytes
        {Bytes("\1\xFF\xFE"), Bytes("\xFF\xFE\0\0"), 1},                // nothing but the mark
        {Bytes("\1\xFF\xFE\0\0b\0"), Bytes("\xFF\xFE\0\0\0\0"), 1},     // ends at its pair of zeros
        {Bytes("\1\xFF\xFE\0ab\0"), Bytes("\xFF\xFE\0ab\0\0\0"), 1},    // but not at a 0 across pairs
        {Bytes("\7text"), Bytes("text\0"), 0},                          // unknown: single bytes
        {Bytes("\2"), Bytes("\0\0"), 0},                                // no byte of text
    };
    for (const auto &c : cases) {
        auto tag = ReadFrames(Frame23("TIT2", c.data));
        EXPECT_EQ(std::string(tag->title, c.title.size()), c.title) << testing::PrintToString(c.data);
        EXPECT_EQ(tag->title_utf16, c.is_utf16) << testing::PrintToString(c.data);
    }
}

TEST(Id3v2, EveryTextFieldHasItsFlag)
{
    std::string utf16 = Bytes("\1\xFF\xFE"
                              "a\0");
    std::string frames;
    for (const char *id : {"TIT2", "TPE1", "TALB", "TYER", "TCON", "TCOM"})
        frames += Frame23(id, utf16);
    auto tag = ReadFrames(frames + Frame23("COMM", Bytes("\1eng\0\xFF\xFE"
                                                         "a\0")));
    for (uint32_t flag : {tag->title_utf16, tag->artist_utf16, tag->album_utf16, tag->year_utf16,
                          tag->genre_utf16, tag->composer_utf16, tag->comment_utf16})
        EXPECT_EQ(flag, 1u);
}

TEST(Id3v2, AFlagOutlivesItsText)
{
    auto tag = ReadFrames(Frame23("TIT2", Bytes("\1\xFF\xFE"
                                                "a\0")) +
                          Frame23("TIT2", Latin("single bytes")));
    EXPECT_STREQ(tag->title, "single bytes");
    EXPECT_EQ(tag->title_utf16, 1u);
}

TEST(Id3v2, AnOversizedTextFrameEndsTheTag)
{
    std::string after = Frame23("TPE1", Latin("after"));
    auto tag = ReadFrames(Frame23("TIT2", Latin(std::string(1022, 'a'))) + after);
    EXPECT_EQ(tag->title, std::string(1022, 'a'));
    EXPECT_STREQ(tag->artist, "after");
    tag = ReadFrames(Frame23("TIT2", Latin(std::string(1023, 'a'))) + after);
    EXPECT_STREQ(tag->title, "");
    EXPECT_STREQ(tag->artist, "");
    tag = ReadFrames(Frame23("PRIV", std::string(1024, 'a')) + after);  // frames of no interest, too
    EXPECT_STREQ(tag->artist, "");
    tag = ReadFrames(Frame23("APIC", std::string(5000, 'a')) + after);  // but pictures
    EXPECT_STREQ(tag->artist, "after");
}

TEST(Id3v2, TheLongestUtf16TextFits)
{
    std::string letters;
    for (int i = 0; i < 511; i++)
        letters += Bytes("\0a");
    auto tag = ReadFrames(Frame23("TIT2", "\2" + letters));  // with its mark 1024 bytes
    EXPECT_EQ(std::string(tag->title, 1022), (Bytes("\xFE\xFF") + letters).substr(0, 1022));
    EXPECT_EQ(tag->title[1022], 0);
    EXPECT_EQ(tag->title[1023], 0);
}

TEST(Id3v2, ShortFieldsCutTheirText)
{
    auto tag = ReadFrames(Frame23("TYER", Latin("123456789")) + Frame23("TCON", Latin(std::string(300, 'g'))));
    EXPECT_STREQ(tag->year, "1234567");
    EXPECT_EQ(tag->genre, std::string(127, 'g'));
}

TEST(Id3v2, TheWalkEndsAtAStrangeFirstByte)
{
    for (char first : {'\0', '/', '[', 'a', '\x11', '\xFF'}) {
        std::string frame = Frame23("TPE1", Latin("x"));
        frame[0] = first;
        auto tag = ReadFrames(Frame23("TIT2", Latin("t")) + frame + Frame23("TALB", Latin("b")));
        EXPECT_STREQ(tag->title, "t");
        EXPECT_STREQ(tag->album, "") << first;
    }
    for (char first : {'0', 'Z', '@'}) {
        auto tag = ReadFrames(Frame23(std::string(1, first) + "XXX", "x") + Frame23("TALB", Latin("b")));
        EXPECT_STREQ(tag->album, "b") << first;
    }
}

TEST(Id3v2, TheWalkEndsAtTheTagsEndNotTheFiles)
{
    std::string file = Tag(3, Frame23("TIT2", Latin("t")), 0) + Frame23("TPE1", Latin("outside"));
    auto tag = ReadTag(file);
    EXPECT_STREQ(tag->title, "t");
    EXPECT_STREQ(tag->artist, "");
    // A frame that begins inside is read whole, though.
    file[9] = 1;
    EXPECT_STREQ(ReadTag(file)->title, "t");
}

TEST(Id3v2, AnExtendedHeaderHidesAllFrames)
{
    std::string extended = Bytes("\0\0\0\6\0\0\0\0\0\0");
    std::string file = Tag(3, extended + Frame23("TIT2", Latin("t")));
    file[5] = 0x40;
    EXPECT_STREQ(ReadTag(file)->title, "");
}

TEST(Id3v2, UnsynchronisedAndCompressedFramesAreReadAsTheyStand)
{
    std::string file = Tag(3, Frame23("TIT2", Bytes("\0\xFF\0\xE9")));
    file[5] = static_cast<char>(0x80);
    EXPECT_STREQ(ReadTag(file)->title, "\xFF");
    std::string frame = Frame23("TIT2", Latin("deflated"));
    frame[9] = static_cast<char>(0xC0);
    EXPECT_STREQ(ReadFrames(frame)->title, "deflated");
}

TEST(Id3v2, NewerFramesAreIgnored)
{
    auto tag = ReadTag(Tag(4, Frame24("TDRC", Latin("2004")) + Frame24("TIT2", Latin("t"))));
    EXPECT_STREQ(tag->year, "");
    EXPECT_STREQ(tag->title, "t");
}

TEST(Id3v22, FrameSizesAreTheOrOfTheirBytes)
{
    // 300 is 00 01 2C, taken as 0x2D: the walk goes on in the middle of the text, here in capital letters.
    std::string text = std::string(299, 'A');
    auto tag = ReadTag(Tag(2, Frame22("TT2", Latin(text)) + Frame22("TP1", Latin("lost"))));
    EXPECT_EQ(tag->title, std::string(0x2D - 1, 'A'));
    EXPECT_STREQ(tag->artist, "");
    tag = ReadTag(Tag(2, Frame22("TT2", Latin(std::string(254, 'a'))) + Frame22("TP1", Latin("found"))));
    EXPECT_EQ(tag->title, std::string(254, 'a'));
    EXPECT_STREQ(tag->artist, "found");
}

TEST(Id3v2, HostileSizesEndTheWalk)
{
    std::string file = Tag(3, "APIC" + U32(0xFFFFFFFF) + Bytes("\0\0") + Bytes("\0image/gif\0"), 0);
    EXPECT_EQ(ReadTag(file)->cover_count, 0u);
    file = Tag(3, Frame23("TIT2", Latin("t")) + "TPE1" + U32(0x80000000));
    EXPECT_STREQ(ReadTag(file)->title, "t");
    // A tag that claims half a gigabyte, in a file of a hundred bytes.
    file = Tag(3, Frame23("TIT2", Latin("t")), 0);
    file.replace(6, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_STREQ(ReadTag(file)->title, "t");
    // Frames without any data.
    file = Tag(3, Frame23("XXXX", "") + Frame23("TIT2", "") + Frame23("TALB", Latin("b")));
    EXPECT_STREQ(ReadTag(file)->album, "b");
}

TEST(Id3v2, ACutFrameIsFilledWithMissingBytes)
{
    std::string file = Tag(3, Frame23("TIT2", Latin("title")), 0);
    EXPECT_STREQ(ReadTag(file.substr(0, file.size() - 3))->title, "ti\x11\x11\x11");
    EXPECT_STREQ(ReadTag(file.substr(0, 20))->title, "\x11\x11\x11\x11\x11");
    EXPECT_STREQ(ReadTag(file.substr(0, 17))->title, "");  // the size reads as 0
}

TEST(Id3v2, BadParameters)
{
    Mp3FileReader reader = OpenBytes(Tag(3, ""));
    Id3v2Tag tag = {};
    Id3v2Read(nullptr, &reader, 3, "/a");
    Id3v2Read(&tag, nullptr, 3, "/a");
    Id3v2Read(&tag, &reader, 3, nullptr);
    Id3v22Read(nullptr, &reader, 2, "/a");
    Id3v22Read(&tag, nullptr, 2, "/a");
    Id3v22Read(&tag, &reader, 2, nullptr);
    EXPECT_EQ(log_lines, std::vector<std::string>(6, "id3v2 (#) Bad parameters."));
    CloseReader(&reader);
}

// ---- pictures ----

static std::string Apic(int type, const std::string &picture = std::string(10, 'p'))
{
    return Bytes("\0image/jpeg\0") + static_cast<char>(type) + std::string(1, '\0') + picture;
}

TEST(Id3v2, OnlyTheFirstSavedPictureIsWritten)
{
    std::string media = Scratch("/volume1/music/a.mp3");
    WriteFile(media, "x");
    MakeFolder(Scratch("/covers"));
    std::string file = Tag(3, Frame23("APIC", Apic(21)) + Frame23("APIC", Apic(4, "first picture")) +
                                  Frame23("APIC", Apic(5, "second picture")) + Frame23("TIT2", Latin("t")));
    Mp3FileReader reader = OpenBytes(file);
    Id3v2Tag tag = {};
    Id3v2Read(&tag, &reader, 3, media.c_str());
    CloseReader(&reader);
    EXPECT_EQ(tag.cover_count, 1u);
    EXPECT_STREQ(tag.title, "t");
    EXPECT_EQ(platform.calls, std::vector<std::string>{"GetCoverPath 4 1 1"});
    EXPECT_EQ(ReadFile(Scratch("/covers/cover")), "first picture");
}

TEST(Id3v2, APictureOfTheOldVersion)
{
    std::string media = Scratch("/volume1/music/a.mp3");
    WriteFile(media, "x");
    MakeFolder(Scratch("/covers"));
    std::string pic = Bytes("\0PNG\3about\0") + "the picture";
    Mp3FileReader reader = OpenBytes(Tag(2, Frame22("PIC", pic) + Frame22("TT2", Latin("t"))));
    Id3v2Tag tag = {};
    Id3v22Read(&tag, &reader, 2, media.c_str());
    CloseReader(&reader);
    EXPECT_EQ(tag.cover_count, 1u);
    EXPECT_STREQ(tag.title, "t");
    EXPECT_EQ(platform.calls, std::vector<std::string>{"GetCoverPath 3 1 2"});
    EXPECT_EQ(ReadFile(Scratch("/covers/cover")), "the picture");
}

// ---- UTF-16 copies ----

TEST(Id3Utf16Copy, NeedsAMarkAndStopsAtThePairOfZeros)
{
    static const struct {
        std::string src;
        size_t size;
        std::string dst;
    } cases[] = {
        {Bytes("\xFF\xFE"
               "a\0b\0\0\0c\0"),
         12,
         Bytes("\xFF\xFE"
               "a\0b\0\0\0\0\0\0\0")},
        {Bytes("\xFE\xFF\0a\0\0"), 8, Bytes("\xFE\xFF\0a\0\0\0\0")},
        {Bytes("ab\0\0"), 8, Bytes("\0\0\0\0\0\0\0\0")},
        {Bytes("\xFF\xFF"
               "a\0\0\0"),
         8, Bytes("\0\0\0\0\0\0\0\0")},
        // A pair begins below size - 2: an even field keeps two zeros, an odd one a single zero.
        {Bytes("\xFF\xFE"
               "a\0b\0c\0"),
         8,
         Bytes("\xFF\xFE"
               "a\0b\0\0\0")},
        {Bytes("\xFF\xFE"
               "abcdef"),
         7,
         Bytes("\xFF\xFE"
               "abcd\0")},
        {Bytes("\xFF\xFE"), 2, Bytes("\0\0")},
    };
    for (const auto &c : cases) {
        std::string dst(c.size, 'x');
        Id3Utf16Copy(c.src.c_str(), dst.data(), c.size);
        EXPECT_EQ(dst, c.dst) << testing::PrintToString(c.src);
    }
}
