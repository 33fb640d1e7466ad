// The cached reader: bytes, integers, and what stands for bytes that are not there.
#include "music/mp3_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "music/open_bytes.h"

static std::string Pattern(size_t size)
{
    std::mt19937 random(1);
    std::string text(size, '\0');
    for (char &c : text)
        c = static_cast<char>(random());
    return text;
}

static int Expected(const std::string &file, int64_t pos)
{
    if (pos < 0 || pos >= static_cast<int64_t>(file.size()))
        return 17;
    return static_cast<unsigned char>(file[static_cast<size_t>(pos)]);
}

TEST(Mp3Reader, EveryByteInAnyOrder)
{
    std::string file = Pattern(70000);
    Mp3FileReader reader = OpenBytes(file);
    for (int64_t pos = 0; pos < 70003; pos++)
        ASSERT_EQ(Mp3ReadByte(&reader, pos), Expected(file, pos)) << pos;
    std::mt19937 random(2);
    int64_t pos = 0;
    for (int i = 0; i < 20000; i++) {
        // Mostly small steps to both sides, as a search makes them, now and then a jump.
        pos += static_cast<int64_t>(random() % 4001) - 2000;
        if (random() % 50 == 0)
            pos = static_cast<int64_t>(random() % 90000) - 10000;
        ASSERT_EQ(Mp3ReadByte(&reader, pos), Expected(file, pos)) << pos;
    }
    CloseReader(&reader);
}

TEST(Mp3Reader, UnreadableBytesAre17)
{
    Mp3FileReader reader = OpenBytes("ab");
    for (int64_t pos : {int64_t{-1}, INT64_MIN, int64_t{2}, int64_t{1} << 40, INT64_MAX})
        EXPECT_EQ(Mp3ReadByte(&reader, pos), 17) << pos;
    EXPECT_EQ(Mp3ReadByte(&reader, 1), 'b');  // nothing was lost
    CloseReader(&reader);
}

TEST(Mp3Reader, AFileThatShrinksReadsAs17BehindItsNewEnd)
{
    Mp3FileReader reader = OpenBytes(std::string(40000, 'x'));
    EXPECT_EQ(Mp3ReadByte(&reader, 0), 'x');
    CutFile(&reader, 20000);
    EXPECT_EQ(Mp3ReadByte(&reader, 16383), 'x');  // cached
    EXPECT_EQ(Mp3ReadByte(&reader, 19999), 'x');
    EXPECT_EQ(Mp3ReadByte(&reader, 20000), 17);
    EXPECT_EQ(Mp3FindByte(&reader, 0, 40000, 'y'), 40000);
    EXPECT_EQ(Mp3FindByte(&reader, 30000, int64_t{1} << 50, 'x'), int64_t{1} << 50);  // and at once
    CloseReader(&reader);
}

TEST(Mp3Reader, AFolderHasNoBytes)
{
    Mp3FileReader reader = {};
    reader.stream = fopen("/", "rb");
    ASSERT_NE(reader.stream, nullptr);
    EXPECT_EQ(Mp3ReadByte(&reader, 0), 17);
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 0), 0u);
    CloseReader(&reader);
}

TEST(Mp3Reader, SyncsafeBytesAreNotMasked)
{
    Mp3FileReader reader = OpenBytes(std::string("\x00\x00\x02\x01\xFF\xFF\xFF\xFF\x01\x80\x00\x00", 12));
    EXPECT_EQ(Mp3ReadSyncsafe(&reader, 0), 257u);
    EXPECT_EQ(Mp3ReadSyncsafe(&reader, 4), 0xFFu << 21 | 0xFFu << 14 | 0xFFu << 7 | 0xFFu);
    EXPECT_EQ(Mp3ReadSyncsafe(&reader, 8), 0x200000u | 0x80u << 14);  // the top bit runs over
    EXPECT_EQ(Mp3ReadSyncsafe(&reader, -1), 17u);
    EXPECT_EQ(Mp3ReadSyncsafe(&reader, 12), 17u << 21 | 17u << 14 | 17u << 7 | 17u);
    CloseReader(&reader);
}

TEST(Mp3Reader, UInt32IsBigEndianAndWholeOrZero)
{
    Mp3FileReader reader = OpenBytes("\xFE\x02\x03\x04\x05");
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 0), 0xFE020304u);
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 1), 0x02030405u);
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 2), 0u);  // three bytes are left
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 100), 0u);
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, -1), 17u);  // cannot be sought to
    CloseReader(&reader);
}

TEST(Mp3Reader, AStreamThatCannotSeek)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Mp3FileReader reader = {};
    reader.stream = fdopen(ends[0], "rb");
    EXPECT_EQ(Mp3ReadByte(&reader, 0), 17);
    EXPECT_EQ(Mp3ReadUInt32BE(&reader, 0), 17u);
    char byte;
    EXPECT_EQ(Mp3ReadBlock(&reader, 0, &byte, 1), -1);
    close(ends[1]);
    CloseReader(&reader);
}

TEST(Mp3Reader, IntegersAcrossBlockBorders)
{
    std::string file = Pattern(40000);
    for (int64_t pos = MP3_CACHE_SIZE - 5; pos < MP3_CACHE_SIZE + 2; pos++) {
        Mp3FileReader reader = OpenBytes(file);
        (void)Mp3ReadByte(&reader, 0);
        uint32_t expected = 0;
        for (int i = 0; i < 4; i++)
            expected = expected << 8 | static_cast<uint32_t>(Expected(file, pos + i));
        EXPECT_EQ(Mp3ReadUInt32BE(&reader, pos), expected) << pos;
        CloseReader(&reader);
    }
}

TEST(Mp3Reader, BlocksAreCutAtTheEndOfTheFile)
{
    std::string file = Pattern(50000);
    Mp3FileReader reader = OpenBytes(file);
    std::string out(50000, '\0');
    EXPECT_EQ(Mp3ReadBlock(&reader, 0, out.data(), 50000), 50000);
    EXPECT_EQ(out, file);
    EXPECT_EQ(Mp3ReadBlock(&reader, 49990, out.data(), 100), 10);
    EXPECT_EQ(out.substr(0, 10), file.substr(49990));
    EXPECT_EQ(Mp3ReadBlock(&reader, 50000, out.data(), 100), 0);
    EXPECT_EQ(Mp3ReadBlock(&reader, -5, out.data(), 100), -1);
    CloseReader(&reader);
}

TEST(Mp3Reader, FindByteAndSkipZerosStopAtTheirLimit)
{
    std::string file = std::string(40000, '\0') + "x" + std::string(40000, '\0');
    Mp3FileReader reader = OpenBytes(file);
    EXPECT_EQ(Mp3FindByte(&reader, 0, 80001, 'x'), 40000);
    EXPECT_EQ(Mp3FindByte(&reader, 0, 40000, 'x'), 40000);
    EXPECT_EQ(Mp3FindByte(&reader, 40001, 80001, 'x'), 80001);
    EXPECT_EQ(Mp3FindByte(&reader, 50, 7, 'x'), 50);
    EXPECT_EQ(Mp3FindByte(&reader, -3, 5, '\0'), 0);
    EXPECT_EQ(Mp3FindByte(&reader, -30, -20, '\0'), -20);
    EXPECT_EQ(Mp3SkipZeros(&reader, 0, 80001), 40000);
    EXPECT_EQ(Mp3SkipZeros(&reader, 0, 39999), 39999);
    EXPECT_EQ(Mp3SkipZeros(&reader, 40001, 90000), 80001);  // a missing byte is 17
    EXPECT_EQ(Mp3SkipZeros(&reader, -1, 10), -1);
    EXPECT_EQ(Mp3SkipZeros(&reader, 50, 7), 50);
    CloseReader(&reader);
}

TEST(Mp3Reader, SkipZerosSeesEveryOtherByte)
{
    for (size_t at = 0; at < 1200; at++) {
        std::string file(1300, '\0');
        file[at] = 1;
        Mp3FileReader reader = OpenBytes(file);
        EXPECT_EQ(Mp3SkipZeros(&reader, 0, 1300), static_cast<int64_t>(at));
        CloseReader(&reader);
    }
}

// A walk through the file that looks ahead and comes back asks the kernel for each byte once.
TEST(Mp3Reader, LookingAheadCostsNoSecondRead)
{
    Mp3FileReader reader = OpenBytes(Pattern(200000));
    int64_t loads = 0;
    int64_t end = 0;
    for (int64_t pos = 0; pos < 190000; pos += 7) {
        (void)Mp3ReadByte(&reader, pos);
        (void)Mp3ReadByte(&reader, pos + 1729);
        if (reader.end != end) {
            loads++;
            EXPECT_GT(reader.end, end);
            end = reader.end;
        }
    }
    EXPECT_LE(loads, 200000 / (MP3_CACHE_SIZE - 2048) + 2);
    CloseReader(&reader);
}
