// Xing and VBRI headers, and their search against the plain byte-wise one.
#include "music/mpeg_vbr.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <random>

#include "music/open_bytes.h"
#include "music/plain_search.h"

// A frame of 44100 Hz, MPEG-1 layer III, as the header search leaves it.
static MpegAudioInfo Layer3()
{
    MpegAudioInfo info = {};
    info.version = 1;
    info.layer = 3;
    info.bitrate = 128000;
    info.sample_rate = 44100;
    info.duration = 5.0;
    return info;
}

static std::string Xing(uint32_t flags, uint32_t frames, uint32_t bytes)
{
    return "Xing" + U32(flags) + U32(frames) + U32(bytes);
}

static std::string Vbri(uint32_t frames, uint32_t bytes)
{
    return "VBRI" + std::string(6, '\1') + U32(bytes) + U32(frames);
}

struct Read {
    int xing;
    int vbri;
    MpegAudioInfo info;
};

// The header stands at `at` of a file of `size` bytes.
static Read ReadAt(const std::string &header, MpegAudioInfo info, size_t at = 36, size_t size = 4000)
{
    std::string file(size, 'x');
    file.replace(at, header.size(), header);
    file.resize(std::max(size, at + header.size()));
    Mp3FileReader reader = OpenBytes(file);
    reader.size = static_cast<int64_t>(size);
    Read read = {0, -2, info};
    read.xing = MpegXingRead(&reader, 0, &read.info);
    if (read.xing < 0)
        read.vbri = MpegVbriRead(&reader, 0, &read.info);
    CloseReader(&reader);
    return read;
}

TEST(MpegXing, FramesGiveDurationAndBytesTheBitrate)
{
    Read read = ReadAt(Xing(3, 1000, 400000), Layer3());
    double seconds = 1000.0 * 1152 / 44100;
    EXPECT_EQ(read.xing, 0);
    EXPECT_DOUBLE_EQ(read.info.duration, seconds);
    EXPECT_EQ(read.info.bitrate, static_cast<int>(400000 / seconds * 8));  // truncated
}

TEST(MpegXing, Flags)
{
    Read no_frames = ReadAt(Xing(2, 1000, 400000), Layer3());
    EXPECT_EQ(no_frames.xing, -1);
    EXPECT_EQ(no_frames.vbri, -1);
    EXPECT_DOUBLE_EQ(no_frames.info.duration, 5.0);

    Read no_bytes = ReadAt(Xing(1, 1000, 400000), Layer3());
    EXPECT_EQ(no_bytes.xing, 0);
    EXPECT_DOUBLE_EQ(no_bytes.info.duration, 1000.0 * 1152 / 44100);
    EXPECT_EQ(no_bytes.info.bitrate, 128000);

    Read high_bytes = ReadAt(Xing(0xFFFFFF00, 1000, 400000), Layer3());  // only the last byte counts
    EXPECT_EQ(high_bytes.xing, -1);
}

TEST(MpegXing, SamplesPerFrame)
{
    static constexpr struct {
        int version, layer, samples;
    } cases[] = {{1, 1, 384}, {1, 2, 1152}, {1, 3, 1152}, {2, 1, 384}, {2, 2, 1152}, {2, 3, 576}, {3, 3, 576}};
    for (const auto &c : cases) {
        MpegAudioInfo info = Layer3();
        info.version = c.version;
        info.layer = c.layer;
        EXPECT_DOUBLE_EQ(ReadAt(Xing(1, 100, 0), info).info.duration, 100.0 * c.samples / 44100)
            << c.version << " " << c.layer;
    }
}

TEST(MpegXing, TwelveHoursAndMoreLeaveTheDurationButSetTheBitrate)
{
    MpegAudioInfo info = Layer3();
    info.sample_rate = 48000;
    Read exact = ReadAt(Xing(3, 1800000, 43200 * 1000), info);  // 43200 s
    EXPECT_EQ(exact.xing, 0);
    EXPECT_DOUBLE_EQ(exact.info.duration, 5.0);
    EXPECT_EQ(exact.info.bitrate, 8000);
    Read below = ReadAt(Xing(3, 1799999, 43200 * 1000), info);
    EXPECT_DOUBLE_EQ(below.info.duration, 1799999.0 * 1152 / 48000);
}

TEST(MpegXing, NoFramesNoBytesAndTooManyBytes)
{
    Read no_frames = ReadAt(Xing(3, 0, 400000), Layer3());
    EXPECT_EQ(no_frames.xing, 0);
    EXPECT_DOUBLE_EQ(no_frames.info.duration, 5.0);
    EXPECT_EQ(no_frames.info.bitrate, 128000);

    Read no_bytes = ReadAt(Xing(3, 1000, 0), Layer3());
    EXPECT_EQ(no_bytes.info.bitrate, 128000);  // less than one bit per second

    Read many = ReadAt(Xing(3, 1, 0xFFFFFFFF), Layer3());
    EXPECT_EQ(many.info.bitrate, INT_MAX);
}

TEST(MpegXing, InfoIsNoXing)
{
    std::string header = Xing(3, 1000, 400000);
    header.replace(0, 4, "Info");
    Read read = ReadAt(header, Layer3());
    EXPECT_EQ(read.xing, -1);
    EXPECT_EQ(read.vbri, -1);
    EXPECT_DOUBLE_EQ(read.info.duration, 5.0);
}

TEST(MpegXing, TheWholeFirstQuarterIsSearchedAndNoMore)
{
    EXPECT_EQ(ReadAt(Xing(1, 10, 0), Layer3(), 24999, 100000).xing, 0);  // it may run over the border
    EXPECT_EQ(ReadAt(Xing(1, 10, 0), Layer3(), 25000, 100000).xing, -1);
    EXPECT_EQ(ReadAt(Xing(1, 10, 0), Layer3(), 24999, 99999).xing, -1);  // 24999 is the quarter, rounded down
    EXPECT_EQ(ReadAt(Xing(1, 10, 0), Layer3(), 0, 4).xing, 0);
    EXPECT_EQ(ReadAt(Xing(1, 10, 0), Layer3(), 0, 3).xing, -1);
}

TEST(MpegXing, NothingBeforeTheFirstFrameCounts)
{
    std::string file = Xing(1, 10, 0) + std::string(4000, 'x');
    Mp3FileReader reader = OpenBytes(file);
    MpegAudioInfo info = Layer3();
    EXPECT_EQ(MpegXingRead(&reader, 1, &info), -1);
    EXPECT_EQ(MpegXingRead(&reader, 0, &info), 0);
    EXPECT_EQ(MpegXingRead(&reader, 3000, &info), -1);  // the frame stands behind the quarter
    EXPECT_EQ(MpegVbriRead(&reader, 3000, &info), -1);
    CloseReader(&reader);
}

TEST(MpegXing, ACutHeaderReadsAsNoFrames)
{
    std::string header = Xing(1, 10, 0).substr(0, 9);
    Mp3FileReader reader = OpenBytes(header);
    reader.size = 100;
    MpegAudioInfo info = Layer3();
    EXPECT_EQ(MpegXingRead(&reader, 0, &info), 0);
    EXPECT_DOUBLE_EQ(info.duration, 5.0);
    CloseReader(&reader);
    reader = OpenBytes(header.substr(0, 7));  // the flags are missing: 17, frames but no bytes
    reader.size = 100;
    EXPECT_EQ(MpegXingRead(&reader, 0, &info), 0);
    CloseReader(&reader);
}

TEST(MpegXing, UnusableInfo)
{
    Mp3FileReader reader =
        OpenBytes(std::string(36, 'x') + Xing(3, 1000, 400000) + Vbri(10, 10) + std::string(4000, 'x'));
    EXPECT_EQ(MpegXingRead(&reader, 0, nullptr), -1);
    EXPECT_EQ(MpegVbriRead(&reader, 0, nullptr), -1);
    for (int MpegAudioInfo::*field : {&MpegAudioInfo::bitrate, &MpegAudioInfo::sample_rate,
                                      &MpegAudioInfo::version, &MpegAudioInfo::layer}) {
        MpegAudioInfo info = Layer3();
        info.*field = 0;
        EXPECT_EQ(MpegXingRead(&reader, 0, &info), -1);
        EXPECT_EQ(MpegVbriRead(&reader, 0, &info), -1);
    }
    CloseReader(&reader);
}

TEST(MpegVbri, FramesBehindBytesAndNoFlags)
{
    Read read = ReadAt(Vbri(1000, 400000), Layer3());
    double seconds = 1000.0 * 1152 / 44100;
    EXPECT_EQ(read.vbri, 0);
    EXPECT_DOUBLE_EQ(read.info.duration, seconds);
    EXPECT_EQ(read.info.bitrate, static_cast<int>(400000 / seconds * 8));

    Read no_frames = ReadAt(Vbri(0, 400000), Layer3());
    EXPECT_EQ(no_frames.vbri, 0);
    EXPECT_EQ(no_frames.info.bitrate, 128000);
}

TEST(MpegVbri, IsFoundBeforeAndBehindAnUnusableXing)
{
    for (const std::string &header : {Vbri(1000, 0) + Xing(0, 1, 1), Xing(0, 1, 1) + Vbri(1000, 0)}) {
        Read read = ReadAt(header, Layer3());
        EXPECT_EQ(read.xing, -1);
        EXPECT_EQ(read.vbri, 0);
        EXPECT_DOUBLE_EQ(read.info.duration, 1000.0 * 1152 / 44100);
    }
}

TEST(MpegVbri, CanBeReadWithoutXing)
{
    Mp3FileReader reader = OpenBytes(Vbri(1000, 0) + std::string(4000, 'x') + Vbri(7, 0));
    MpegAudioInfo info = Layer3();
    EXPECT_EQ(MpegVbriRead(&reader, 0, &info), 0);
    EXPECT_DOUBLE_EQ(info.duration, 1000.0 * 1152 / 44100);
    EXPECT_EQ(MpegVbriRead(&reader, 1, &info), -1);  // the second one stands behind the quarter
    CloseReader(&reader);
}

// ---- the quick search against the plain one: the header found tells its place by its frame count ----

static uint32_t PlainU32(const std::string &file, int64_t pos)
{
    uint32_t value = 0;
    for (int64_t i = pos; i < pos + 4; i++) {
        if (i >= static_cast<int64_t>(file.size()))
            return 0;
        value = value << 8 | static_cast<uint8_t>(file[static_cast<size_t>(i)]);
    }
    return value;
}

static double PlainDuration(const std::string &file, int64_t pos, double before)
{
    double seconds = PlainU32(file, pos) * 1152.0 / 44100;
    return seconds > 0 && seconds < 43200 ? seconds : before;
}

static void ExpectAsPlain(const std::string &file, int64_t size, int64_t from)
{
    Mp3FileReader reader = OpenBytes(file);
    reader.size = size;
    MpegAudioInfo info = Layer3();
    int xing_result = MpegXingRead(&reader, from, &info);
    int vbri_result = xing_result < 0 ? MpegVbriRead(&reader, from, &info) : -2;
    CloseReader(&reader);

    int64_t xing = PlainMarkFind(file, size, from, "Xing");
    int64_t vbri = PlainMarkFind(file, size, from, "VBRI");
    int flags =
        xing < 0 || xing + 7 >= static_cast<int64_t>(file.size()) ? 17 : file[static_cast<size_t>(xing + 7)];
    if (xing >= 0 && flags & 1) {
        ASSERT_EQ(xing_result, 0);
        ASSERT_EQ(info.duration, PlainDuration(file, xing + 8, 5.0));
    } else {
        ASSERT_EQ(xing_result, -1);
        ASSERT_EQ(vbri_result, vbri < 0 ? -1 : 0);
        ASSERT_EQ(info.duration, vbri < 0 ? 5.0 : PlainDuration(file, vbri + 14, 5.0));
    }
}

TEST(MpegVbr, RandomInputsAsThePlainSearch)
{
    std::mt19937 random(7);
    static const std::string pieces[] = {"Xing",
                                         "VBRI",
                                         "Xin",
                                         "VBR",
                                         "X",
                                         "V",
                                         "XXing",
                                         "VVBRI",
                                         "XinXing",
                                         "gniX",
                                         std::string(5, '\0'),
                                         std::string(4, '\1'),
                                         "ab"};
    for (int i = 0; i < 4000; i++) {
        std::string file;
        size_t length = random() % 300;
        while (file.size() < length)
            file += pieces[random() % std::size(pieces)];
        file.resize(file.size() * 4 + random() % 8, 'q');
        auto size = static_cast<int64_t>(file.size());
        if (random() % 5 == 0)
            file.resize(file.size() / (1 + random() % 8));  // it lost its end meanwhile
        ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(file, size, random() % 3)) << i;
    }
}

TEST(MpegVbr, BlockBordersAsThePlainSearch)
{
    for (size_t border : {16384, 30720}) {
        for (size_t at = border - 22; at < border + 2; at++) {
            for (const std::string &header :
                 {Xing(1, 77, 0), Xing(0, 77, 0) + Vbri(78, 0), Vbri(79, 0),
                  "XXXVVV" + Vbri(80, 0) + Xing(0, 1, 0), Vbri(81, 0) + Xing(1, 82, 0)}) {
                std::string file(136000, 'V');
                file.replace(at, header.size(), header);
                ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(file, 136000, 0)) << at;
            }
        }
    }
}
