// The 128-byte tag and the genre names.
#include "music/id3v1.h"

#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <set>

#include "music/id3_genre.h"
#include "music/open_bytes.h"
#include "support/log_capture.h"

static std::string Field(std::string text, size_t width, char filler = '\0')
{
    text.resize(width, filler);
    return text;
}

static std::string Tag(const std::string &title, char genre = 17)
{
    return "TAG" + title + Field("Artist", 30, ' ') + Field("", 30) + "1999" + Field("A comment", 28) +
           std::string("\0\7", 2) + genre;
}

struct Result {
    int result;
    int64_t size;
    Id3v1Tag tag;
};

static Result ReadTag(const std::string &file)
{
    Mp3FileReader reader = OpenBytes(file);
    Result result = {};
    result.result = Id3v1Read(&reader, &result.tag);
    result.size = reader.size;
    CloseReader(&reader);
    return result;
}

TEST(Id3v1, FieldsComeAsTheyStand)
{
    std::string tag = Tag(Field("A title of just thirty letters", 30));
    ASSERT_EQ(tag.size(), 128u);
    Result read = ReadTag(std::string(1000, 'x') + tag);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(read.size, 1000);
    EXPECT_EQ(memcmp(&read.tag, tag.data() + 3, 125), 0);
    EXPECT_EQ(read.tag.comment[29], 7);
    EXPECT_EQ(read.tag.genre, 17);
    EXPECT_EQ(std::string(read.tag.artist, 30), Field("Artist", 30, ' '));  // trailing blanks stay
}

TEST(Id3v1, NoTag)
{
    for (const std::string &file : {std::string(), std::string("TAG"), Tag(Field("x", 30)).substr(1),
                                    Tag(Field("x", 30)) + "x", std::string(500, 'T')}) {
        Result read = ReadTag(file);
        EXPECT_EQ(read.result, 0);
        EXPECT_EQ(read.size, static_cast<int64_t>(file.size()));
    }
    EXPECT_EQ(ReadTag(Tag(Field("x", 30))).result, 1);  // a file of nothing but the tag
    EXPECT_TRUE(log_lines.empty());
}

TEST(Id3v1, BlankFieldsStartWithZero)
{
    static const struct {
        std::string title;
        std::string read;  // what stands in the field then
    } cases[] = {
        {Field("", 30, ' '), std::string("\0", 1) + Field("", 29, ' ')},
        {Field("   ", 30), std::string("\0  ", 3) + Field("", 27)},  // blanks, then the end
        {Field("  a", 30), Field("  a", 30)},                        // leading blanks stay
        {Field("", 30, '\t'), Field("", 30, '\t')},                  // only 0x20 is a blank
        {std::string("\0Hidden", 7) + Field("", 23), std::string("\0Hidden", 7) + Field("", 23)},
    };
    for (const auto &c : cases)
        EXPECT_EQ(std::string(ReadTag(Tag(c.title)).tag.title, 30), c.read) << testing::PrintToString(c.title);
}

TEST(Id3v1, AYearOfBlanksIsEmpty)
{
    std::string tag = Tag(Field("x", 30));
    tag.replace(93, 4, "    ");
    EXPECT_EQ(std::string(ReadTag(tag).tag.year, 4), std::string("\0   ", 4));
}

TEST(Id3v1, AShortReadIsTakenAnEmptyOneIsNot)
{
    std::string file = std::string(1000, 'x') + Tag(Field("Title", 30));
    for (size_t cut : {1003u, 1004u, 1008u}) {
        Mp3FileReader reader = OpenBytes(file.substr(0, cut));
        reader.size = static_cast<int64_t>(file.size());
        Id3v1Tag tag = {};
        EXPECT_EQ(Id3v1Read(&reader, &tag), cut == 1003 ? -1 : 1) << cut;
        EXPECT_EQ(reader.size, cut == 1003 ? 1128 : 1000);
        EXPECT_EQ(std::string(tag.title), std::string("Title").substr(0, cut - 1003));
        CloseReader(&reader);
    }
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3v1 (#) Failed to read id3v1 data"});
}

TEST(Id3v1, AFailedSeekNamesItsOffset)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Mp3FileReader reader = {};
    reader.stream = fdopen(ends[0], "rb");
    reader.size = 1128;
    memcpy(reader.cache, "TAG", 3);  // as if the file had been readable until now
    reader.start = 1000;
    reader.end = 1003;
    Id3v1Tag tag = {};
    EXPECT_EQ(Id3v1Read(&reader, &tag), -1);
    EXPECT_EQ(log_lines, std::vector<std::string>{"id3v1 (#) Failed to seek to (1003)"});
    close(ends[1]);
    CloseReader(&reader);
}

TEST(Id3Genre, NamesByNumber)
{
    EXPECT_STREQ(Id3GenreTable[0], "Blues");
    EXPECT_STREQ(Id3GenreTable[17], "Rock");
    EXPECT_STREQ(Id3GenreTable[67], "Psychadelic");
    EXPECT_STREQ(Id3GenreTable[85], "Bebob");
    EXPECT_STREQ(Id3GenreTable[139], "Crossover");
    EXPECT_STREQ(Id3GenreTable[140], "Contemporary C");
    EXPECT_STREQ(Id3GenreTable[147], "SynthPop");
    std::set<std::string> names(std::begin(Id3GenreTable), std::end(Id3GenreTable));
    EXPECT_EQ(names.size(), 148u);
}
