// Frame headers, and the search for the first one, against the plain byte-wise search.
#include "music/mpeg_audio.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "music/open_bytes.h"
#include "music/plain_search.h"
#include "support/log_capture.h"

static const std::string NOT_FOUND = "mpeg_audio (#) MPEG Header not found";

struct Found {
    int result;
    int64_t offset;
    MpegAudioInfo info;
};

static Found FirstFrame(const std::string &file, int64_t start = 0)
{
    Mp3FileReader reader = OpenBytes(file);
    Found found = {0, -1, {}};
    found.result = MpegFirstFrameFind(&reader, start, &found.info, &found.offset);
    CloseReader(&reader);
    return found;
}

// One header at the start of an otherwise empty megabyte.
static int Decode(const std::string &header, MpegAudioInfo *info)
{
    std::string file = header;
    file.resize(1000000);
    Mp3FileReader reader = OpenBytes(file);
    *info = {};
    int64_t pos = 0;
    int result = MpegHeaderFind(&reader, &pos, info);
    EXPECT_EQ(pos, 0);
    CloseReader(&reader);
    return result;
}

TEST(MpegHeader, EveryFieldOfAHeader)
{
    MpegAudioInfo info;
    ASSERT_EQ(Decode({"\xFF\xFB\x92\x6D", 4}, &info), 1);
    EXPECT_EQ(info.version, 1);
    EXPECT_EQ(info.layer, 3);
    EXPECT_EQ(info.crc, 0);
    EXPECT_EQ(info.bitrate, 128000);
    EXPECT_EQ(info.byte_rate, 16000.0f);
    EXPECT_EQ(info.sample_rate, 44100);
    EXPECT_EQ(info.padding, 1);
    EXPECT_EQ(info.mode, 1);
    EXPECT_EQ(info.mode_extension, 2);
    EXPECT_EQ(info.copyright, 1);
    EXPECT_EQ(info.original, 1);
    EXPECT_EQ(info.emphasis, 1);
    EXPECT_EQ(info.frame_length, 418);
    EXPECT_EQ(info.frame_offset, 0);
    EXPECT_DOUBLE_EQ(info.duration, 62.5);  // a million bytes at 128 kbit/s

    ASSERT_EQ(Decode({"\xFF\xFA\x90\xC0", 4}, &info), 1);
    EXPECT_EQ(info.crc, 1);
    EXPECT_EQ(info.mode, 3);
    EXPECT_EQ(info.mode_extension, -1);
}

TEST(MpegHeader, FrameLengths)
{
    static constexpr struct {
        unsigned char header[4];
        int bitrate, sample_rate, frame_length;
    } cases[] = {
        {{0xFF, 0xFF, 0x10, 0}, 32000, 44100, 34},    // MPEG-1 layer I: truncated, not rounded
        {{0xFF, 0xFF, 0xE2, 0}, 448000, 44100, 491},  // layer I pads by four
        {{0xFF, 0xFD, 0xE8, 0}, 384000, 32000, 1728},
        {{0xFF, 0xFB, 0xE8, 0}, 320000, 32000, 1440},
        {{0xFF, 0xFB, 0x52, 0}, 64000, 44100, 209},
        {{0xFF, 0xF7, 0x12, 0}, 32000, 22050, 38},   // MPEG-2 layer I
        {{0xFF, 0xF5, 0x80, 0}, 64000, 22050, 208},  // MPEG-2 layer II by the factor of layer III; truly 417
        {{0xFF, 0xF3, 0x82, 0}, 64000, 22050, 209},
        {{0xFF, 0xFB, 0x02, 0}, 0, 44100, 1},  // free format with padding goes by the same sum
        {{0xFF, 0xFF, 0x02, 0}, 0, 44100, 4},
    };
    for (const auto &c : cases) {
        MpegAudioInfo info;
        std::string header(reinterpret_cast<const char *>(c.header), 4);
        EXPECT_EQ(Decode(header, &info), 1) << testing::PrintToString(header);
        EXPECT_EQ(info.bitrate, c.bitrate);
        EXPECT_EQ(info.sample_rate, c.sample_rate);
        EXPECT_EQ(info.frame_length, c.frame_length) << testing::PrintToString(header);
    }
    MpegAudioInfo info;
    EXPECT_EQ(Decode({"\xFF\xFB\x02\x00", 4}, &info), 1);
    EXPECT_TRUE(std::isinf(info.duration));
}

TEST(MpegHeader, WhatIsRefused)
{
    static constexpr struct {
        unsigned char header[4];
        const char *why;
        bool is_checked;  // whether the check of a second header refuses it as well
    } cases[] = {
        {{0xFF, 0xF9, 0x90, 0}, "reserved layer", true},
        {{0xFF, 0xFB, 0x9C, 0}, "reserved sample rate", true},
        {{0xFF, 0xFB, 0xF0, 0}, "bit rate index 15", true},
        {{0xFF, 0xFB, 0x00, 0}, "free format", false},
        {{0xFF, 0xE3, 0x90, 0}, "MPEG-2.5", true},
        {{0xFF, 0xEB, 0x90, 0}, "reserved version", true},
    };
    for (const auto &c : cases) {
        MpegAudioInfo info;
        std::string header(reinterpret_cast<const char *>(c.header), 4);
        EXPECT_EQ(Decode(header, &info), 0) << c.why;
        Mp3FileReader reader = OpenBytes(header);
        EXPECT_EQ(MpegHeaderCheck(&reader, 0), c.is_checked ? -1 : 0) << c.why;
        CloseReader(&reader);
    }
    EXPECT_TRUE(log_lines.empty());
}

TEST(MpegHeader, FindScansOnAndStopsTenBytesBeforeTheEnd)
{
    std::string file = std::string(20000, 'x') + Frame();
    Mp3FileReader reader = OpenBytes(file);
    MpegAudioInfo info = {};
    int64_t pos = 3;
    EXPECT_EQ(MpegHeaderFind(&reader, &pos, &info), 1);
    EXPECT_EQ(pos, 20000);
    EXPECT_EQ(info.frame_offset, 20000);
    pos = 20001;
    EXPECT_EQ(MpegHeaderFind(&reader, &pos, &info), 0);
    EXPECT_EQ(pos, static_cast<int64_t>(file.size()) - 10);
    EXPECT_EQ(log_lines, std::vector{NOT_FOUND});
    CloseReader(&reader);
}

TEST(MpegHeader, BadParameters)
{
    Mp3FileReader reader = OpenBytes(Frames(2));
    MpegAudioInfo info = {};
    int64_t pos = 0;
    EXPECT_EQ(MpegHeaderFind(nullptr, &pos, &info), 0);
    EXPECT_EQ(MpegHeaderFind(&reader, nullptr, &info), 0);
    EXPECT_EQ(MpegHeaderFind(&reader, &pos, nullptr), 0);
    EXPECT_EQ(log_lines, std::vector<std::string>(3, "mpeg_audio (#) Bad parameter."));
    CloseReader(&reader);
}

TEST(MpegFirstFrame, IsConfirmedByTheHeaderBehindIt)
{
    Found found = FirstFrame("junk" + Frames(3));
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.offset, 4);
    EXPECT_EQ(found.info.frame_offset, 4);
    EXPECT_TRUE(log_lines.empty());
}

TEST(MpegFirstFrame, ALoneSyncIsSkipped)
{
    Found found = FirstFrame(Frame() + std::string(7, 'x') + Frames(2));
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.offset, 424);
}

TEST(MpegFirstFrame, TheSearchGoesOnOneByteBehindAFalseCandidate)
{
    // FF FF FB 90: the first two bytes make a header of their own (layer I), which nothing confirms.
    std::string file = "\xFF" + Frames(2);
    Found found = FirstFrame(file);
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.offset, 1);
    EXPECT_EQ(found.info.layer, 3);
}

TEST(MpegFirstFrame, TheSecondHeaderNeedNotAgree)
{
    Found found = FirstFrame(Frame() + std::string("\xFF\xF5\x10\xC0", 4) + std::string(20, '\0'));
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.info.sample_rate, 44100);
}

TEST(MpegFirstFrame, TheSecondHeaderMayStandInTheLastTenBytes)
{
    EXPECT_EQ(FirstFrame(Frame() + "\xFF\xFB\x90").result, 0);
    EXPECT_EQ(FirstFrame(Frame() + "\xFF\xFB").result, 0);  // the missing byte 17 makes valid rates
    EXPECT_EQ(FirstFrame(Frame()).result, -1);
}

// Zeros behind a frame are counted one byte ahead of the position that is then looked at, so that no padded frame is
// ever confirmed. A reader that skips the padding properly would answer 0 for the first frame here.
TEST(MpegFirstFrame, PaddedFramesAreNeverConfirmed)
{
    for (size_t zeros = 1; zeros < 40; zeros++) {
        std::string file = Frame() + std::string(zeros, '\0') + Frames(2);
        Found found = FirstFrame(file);
        EXPECT_EQ(found.result, 0);
        EXPECT_EQ(found.offset, static_cast<int64_t>(417 + zeros));
    }
}

TEST(MpegFirstFrame, NoneInShortFilesMpeg25AndFreeFormat)
{
    EXPECT_EQ(FirstFrame("").result, -1);
    EXPECT_EQ(FirstFrame("\xFF\xFB\x90\x40xxxxxx").result, -1);  // ten bytes
    EXPECT_TRUE(log_lines.empty());                              // nothing was scanned at all
    std::string mpeg25, free_format;
    for (int i = 0; i < 5; i++) {
        mpeg25 += Frame({"\xFF\xE3\x90\x40", 4}, 208);
        free_format += Frame({"\xFF\xFB\x00\x40", 4}, 417);
    }
    EXPECT_EQ(FirstFrame(mpeg25).result, -1);
    EXPECT_EQ(FirstFrame(free_format).result, -1);
    EXPECT_EQ(log_lines, (std::vector{NOT_FOUND, NOT_FOUND}));
    EXPECT_EQ(FirstFrame(Frames(3), 1 << 29).result, -1);  // a start behind the end
}

TEST(MpegFirstFrame, Id3v1RegionIsReadByTheCheckOnly)
{
    // The reader's size was lowered; the bytes behind it are still there.
    std::string file = Frame() + Frame();
    Mp3FileReader reader = OpenBytes(file);
    reader.size = 417;
    MpegAudioInfo info = {};
    int64_t offset = -1;
    EXPECT_EQ(MpegFirstFrameFind(&reader, 0, &info, &offset), 0);
    EXPECT_DOUBLE_EQ(info.duration, 417.0 / 128 * 0.008);
    CloseReader(&reader);
}

// ---- the quick search against the plain one ----

static void ExpectAsPlain(const std::string &file, int64_t size, int64_t start)
{
    log_lines.clear();
    MpegAudioInfo plain_info = {};
    PlainFrame plain = PlainFirstFrameFind(file, size, start, &plain_info);

    Mp3FileReader reader = OpenBytes(file);
    reader.size = size;
    MpegAudioInfo info = {};
    int64_t offset = 0;
    int result = MpegFirstFrameFind(&reader, start, &info, &offset);
    CloseReader(&reader);

    ASSERT_EQ(result, plain.result);
    ASSERT_EQ(log_lines, std::vector<std::string>(static_cast<size_t>(plain.not_found_logs), NOT_FOUND));
    if (result < 0)
        return;
    ASSERT_EQ(offset, plain.offset);
    ASSERT_EQ(info.frame_offset, plain_info.frame_offset);
    ASSERT_EQ(info.frame_length, plain_info.frame_length);
    ASSERT_EQ(info.bitrate, plain_info.bitrate);
    ASSERT_EQ(info.sample_rate, plain_info.sample_rate);
    ASSERT_EQ(info.mode, plain_info.mode);
    ASSERT_EQ(info.duration, plain_info.duration);
}

// Text made of few different bytes, so that syncs, almost-headers and runs of zeros come thick.
static std::string Adversarial(std::mt19937 &random, size_t size)
{
    static constexpr unsigned char bytes[] = {0xFF, 0xFF, 0xFB, 0xF3, 0xFA, 0xE3, 0x90, 0x10, 0x00, 0x00, 0x00};
    std::string text(size, '\0');
    for (char &c : text)
        c = static_cast<char>(random() % 40 == 0 ? random() : bytes[random() % sizeof bytes]);
    return text;
}

TEST(MpegFirstFrame, RandomInputsAsThePlainSearch)
{
    std::mt19937 random(3);
    for (int i = 0; i < 3000; i++) {
        std::string file = Adversarial(random, random() % 3000);
        int64_t size = static_cast<int64_t>(file.size());
        if (random() % 4 == 0)
            size = std::max<int64_t>(size - 128, 0);
        ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(file, size, static_cast<int64_t>(random() % 20))) << i;
    }
}

TEST(MpegFirstFrame, ZeroRunsAsThePlainSearch)
{
    std::mt19937 random(4);
    for (int i = 0; i < 1500; i++) {
        std::string file;
        while (file.size() < 4000) {
            if (random() % 2)
                file += Frame().substr(0, random() % 500);
            else
                file += std::string(random() % 600, '\0') + (random() % 2 ? "\xFF" : "\xFF\xFB\x90");
        }
        ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(file, static_cast<int64_t>(file.size()), 0)) << i;
    }
}

TEST(MpegFirstFrame, BlockBordersAsThePlainSearch)
{
    std::mt19937 random(5);
    for (int64_t border : {14336, 16384, 30720, 32768}) {
        for (int i = 0; i < 120; i++) {
            // Quiet up to the border, then headers right around it, false ones in front of a true pair.
            std::string file(static_cast<size_t>(border) - 40 + random() % 44, 'x');
            file += Adversarial(random, random() % 60);
            file += Frames(2);
            if (random() % 3 == 0)
                file.resize(static_cast<size_t>(border) + random() % 900);
            ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(file, static_cast<int64_t>(file.size()), 0))
                << border << " " << i;
        }
    }
}
