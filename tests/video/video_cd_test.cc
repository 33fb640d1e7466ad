// Video CD files, built byte by byte, and one made by an encoder.
#include <gtest/gtest.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <fstream>

#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/record_text.h"
#include "support/scratch.h"
#include "video/metavideo.h"
#include "video/mpeg_sound.h"
#include "video/mpeg_video.h"
#include "video/video.h"

using Lines = std::vector<std::string>;

static std::string Bytes(std::initializer_list<int> values)
{
    std::string out;
    for (int value : values)
        out.push_back(static_cast<char>(value));
    return out;
}

static std::string StartCode(int code)
{
    return Bytes({0, 0, 1, code});
}

struct Sequence {
    int width = 352;
    int height = 288;
    int aspect = 8;
    int rate_code = 3;
    int bitrate_value = 2875;  // 1150000 bit/s
};

static std::string SequenceHeader(const Sequence &s = {})
{
    return StartCode(0xB3) + Bytes({s.width >> 4, (s.width & 15) << 4 | s.height >> 8, s.height & 255,
                                    s.aspect << 4 | s.rate_code, s.bitrate_value >> 10 & 255,
                                    s.bitrate_value >> 2 & 255, (s.bitrate_value & 3) << 6 | 0x20, 0});
}

// The bytes behind the start code: kind 1, then five bytes that carry the extension bits.
static std::string SequenceExtension(int b1, int b2, int b3, int b5)
{
    return StartCode(0xB5) + Bytes({0x14, b1, b2, b3, 0, b5, 0});
}

static const std::string PICTURE_GROUP = StartCode(0xB8) + std::string(16, '\x55');

// An MPEG-1 layer II frame header of 224 kbit/s at 44100 Hz, stereo, and its 731 bytes.
static std::string SoundFrame(int mode_byte = 0x04)
{
    std::string frame = Bytes({0xFF, 0xFD, 0xB0, mode_byte});
    frame.resize(731, '\x22');
    return frame;
}

// An MPEG-1 packet of the first sound stream with one time stamp.
static std::string SoundPacket(const std::string &payload)
{
    return StartCode(0xC0) + Bytes({0x03, 0x00, 0xFF, 0xFF, 0x60, 0x20, 0x21, 0, 1, 0, 1}) + payload;
}

static MediaInfoRecord Parse(const std::string &content, int expected)
{
    std::string path = Scratch("/volume1/video/a.dat");
    WriteFile(path, content);
    MediaInfoRecord record = {};
    EXPECT_EQ(VideoMetaParse(path.c_str(), &record), expected);
    return record;
}

TEST(VideoCd, ElementaryStreamHasItsPictureValuesAndNoSound)
{
    std::string content = SequenceHeader() + PICTURE_GROUP + SoundPacket(SoundFrame() + SoundFrame());
    content.resize(115000, '\x33');
    EXPECT_EQ(RecordText(Parse(content, 0)),
              "duration=0.800000012\ncontainer_bitrate=2875000\nresolution_x=352\nresolution_y=288\n");
    EXPECT_EQ(log_lines, Lines{});
}

TEST(VideoCd, ProgramStreamHasTheSoundOfItsFirstPacket)
{
    std::string content = StartCode(0xBA) + std::string(8, '\x21') + SequenceHeader() + PICTURE_GROUP +
                          SoundPacket(SoundFrame(0xC4) + SoundFrame(0xC4));
    content.resize(115000, '\x33');
    EXPECT_EQ(RecordText(Parse(content, 0)),
              "duration=0.800000012\nbitrate=224000\ncontainer_bitrate=2875000\nfrequency=44100\nchannels=3\n"
              "resolution_x=352\nresolution_y=288\n");  // 3 is the code of mono, no count
}

TEST(VideoCd, StereoIsStoredAsItsCodeZero)
{
    std::string content = "x" + SequenceHeader() + SoundPacket(SoundFrame() + SoundFrame()) + PICTURE_GROUP;
    MediaInfoRecord record = Parse(content, 0);
    EXPECT_EQ(record.channels, 0u);
    EXPECT_EQ(record.bitrate, 224000u);
}

TEST(VideoCd, PacketHeadersOfEitherKindAreSkipped)
{
    static const struct {
        std::string extension;
        std::string header;  // behind the start code and the length
        const char *what;
    } cases[] = {
        {"", Bytes({0x0F}), "no time stamp"},
        {"", Bytes({0x21, 0, 1, 0, 1}), "one time stamp"},
        {"", Bytes({0x31, 0, 1, 0, 1, 0x11, 0, 1, 0, 1}), "two time stamps"},
        {"", Bytes({0xFF, 0xFF, 0xFF, 0x60, 0x20, 0x0F}), "stuffing and a buffer size"},
        {SequenceExtension(0, 0, 0, 0), Bytes({0x80, 0x80, 0x05, 0x21, 0, 1, 0, 1}), "MPEG-2"},
    };
    for (const auto &c : cases) {
        // A false frame stands where a wrong skip would begin to search.
        std::string content = "x" + SequenceHeader() + c.extension + StartCode(0xC0) + Bytes({0, 0}) +
                              c.header + SoundFrame(0x84) + SoundFrame(0x84) + PICTURE_GROUP;
        EXPECT_EQ(Parse(content, 0).channels, 2u) << c.what;
    }
}

TEST(VideoCd, SequenceHeaderBehindByte99999IsNotFound)
{
    for (size_t at : {size_t{99999}, size_t{100000}}) {
        log_lines.clear();
        std::string content(at, '\x33');
        content += SequenceHeader() + PICTURE_GROUP;
        MediaInfoRecord record = Parse(content, at == 99999 ? 0 : -1);
        EXPECT_EQ(record.resolution_x, at == 99999 ? 352u : 0u);
        Lines missing = {"metavideo (#) couldn't find any valid video.",
                         "metavideo (#) Did not find video nor audio. Skip meta info"};
        EXPECT_EQ(log_lines, at == 99999 ? Lines{} : missing);
    }
}

TEST(VideoCd, FileWithoutVideoIsStoredAndYieldsOne)
{
    std::string path = Scratch("/volume1/video/Disc/AVSEQ01.DAT");
    WriteFile(path, std::string(5000, '\x33'));
    EXPECT_EQ(VideoIndexAdd(path.c_str()), 1);
    EXPECT_EQ(log_lines.back(), "video (#) Failed to parse dat metadata.");
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoValid " + path, "MediaInfoDBSave 1 " + path}));
    EXPECT_EQ(RecordText(platform.saved.at(0)),
              "path=" + path + "\ntitle=AVSEQ01\nalbum=Disc\ncreate_time=2001-02-03 04:05:06\n" +
                  "modify_time=2000-01-02 03:04:05\nfilesize=5000\n");
}

TEST(VideoCd, SizeExtensionsOfMpeg2)
{
    static constexpr struct {
        int b1;
        int b2;
        uint32_t width;
        uint32_t height;
    } cases[] = {
        {0, 0x80, 352, 288},         // a horizontal extension of 1 adds nothing
        {1, 0x00, 352 + 8192, 288},  // 2
        {1, 0x80, 352 + 8192, 288},  // 3
        {0, 0x20, 352, 288 + 4096},  // a vertical extension of 1
        {0, 0x40, 352, 288 + 8192}, {0, 0x60, 352, 288 + 12288},
    };
    for (const auto &c : cases) {
        MediaInfoRecord record =
            Parse(SequenceHeader() + SequenceExtension(c.b1, c.b2, 0, 0) + PICTURE_GROUP, 0);
        EXPECT_EQ(record.resolution_x, c.width) << c.b1 << " " << c.b2;
        EXPECT_EQ(record.resolution_y, c.height) << c.b1 << " " << c.b2;
    }
}

static MpegVideoInfo Header(const std::string &content, int32_t *kind = nullptr)
{
    std::string path = Scratch("/volume1/video/a.dat");
    WriteFile(path, content);
    MpegStreamReader reader = {};
    reader.file.stream = fopen(path.c_str(), "rb");
    reader.file.size = static_cast<int64_t>(content.size());
    reader.kind = MPEG_STREAM_1;
    MpegVideoInfo info = {};
    EXPECT_EQ(MpegSequenceHeaderRead(&reader, 0, &info), 0);
    if (kind)
        *kind = reader.kind;
    fclose(reader.file.stream);
    return info;
}

TEST(MpegVideo, FrameRatesByTheirCode)
{
    static constexpr double rates[16] = {0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60};
    for (int code = 0; code < 16; code++) {
        Sequence sequence;
        sequence.rate_code = code;
        EXPECT_EQ(Header(SequenceHeader(sequence) + PICTURE_GROUP).frame_rate, rates[code]) << code;
    }
}

TEST(MpegVideo, FrameRateExtensionMultipliesAndDivides)
{
    static constexpr struct {
        int b5;
        double rate;
    } cases[] = {{0x20, 2 * 30000.0 / 1001}, {0x01, 30000.0 / 1001 / 2}, {0x61, 30000.0 / 1001 * 4 / 2}};
    for (const auto &c : cases) {
        Sequence sequence;
        sequence.rate_code = 4;
        int32_t kind = 0;
        MpegVideoInfo info =
            Header(SequenceHeader(sequence) + SequenceExtension(0, 0, 0, c.b5) + PICTURE_GROUP, &kind);
        EXPECT_DOUBLE_EQ(info.frame_rate, c.rate) << c.b5;
        EXPECT_EQ(kind, MPEG_STREAM_2);
    }
}

TEST(MpegVideo, BitRateExtensionRaisesTheRateAndNotTheDuration)
{
    std::string plain = SequenceHeader() + SequenceExtension(0, 0, 0, 0) + PICTURE_GROUP;
    std::string raised = SequenceHeader() + SequenceExtension(0, 0x01, 0x02, 0) + PICTURE_GROUP;
    MpegVideoInfo info = Header(raised);
    EXPECT_EQ(info.bitrate_value, 2875u | 129u << 18);
    EXPECT_EQ(info.duration, Header(plain).duration);
    EXPECT_DOUBLE_EQ(info.duration, static_cast<double>(raised.size()) * 8 / (2875 * 400.0));
}

TEST(MpegVideo, BitRateZeroGivesTheDurationAsItComes)
{
    Sequence sequence;
    sequence.bitrate_value = 0;
    EXPECT_TRUE(isinf(Header(SequenceHeader(sequence) + PICTURE_GROUP).duration));
    EXPECT_TRUE(isinf(Parse(SequenceHeader(sequence) + PICTURE_GROUP, 0).duration));
}

TEST(MpegVideo, AspectRatioZeroIsReportedAndTheRestIsRead)
{
    Sequence sequence;
    sequence.aspect = 0;
    EXPECT_EQ(Parse(SequenceHeader(sequence) + PICTURE_GROUP, 0).resolution_x, 352u);
    EXPECT_EQ(log_lines, Lines{"metavideo (#) invalid aspect_ratio."});
}

TEST(MpegVideo, ExtensionsBehindTheFirstPictureGroupDoNotCount)
{
    EXPECT_EQ(Header(SequenceHeader() + PICTURE_GROUP + SequenceExtension(1, 0, 0, 0)).width, 352u);
    // Nor do extensions of another kind.
    std::string other = StartCode(0xB5) + Bytes({0x24, 1, 0, 0, 0, 0, 0});
    EXPECT_EQ(Header(SequenceHeader() + other + PICTURE_GROUP).width, 352u);
}

TEST(MpegStream, StartCodesAreFoundWithinTheirBounds)
{
    std::string path = Scratch("/volume1/video/a.dat");
    WriteFile(path, std::string("\0\0\0\1\xC0__\0\0\1\xB3____", 15));
    MpegStreamReader reader = {};
    reader.file.stream = fopen(path.c_str(), "rb");
    reader.file.size = 15;
    EXPECT_EQ(MpegFindPrefix(&reader, 0), 1);
    EXPECT_EQ(MpegFindStartCode(&reader, 0, 0xC0), 1);
    EXPECT_EQ(MpegFindStartCode(&reader, 0, 0xB3), 7);
    EXPECT_EQ(MpegFindStartCode(&reader, 8, 0xB3), -1);
    EXPECT_EQ(MpegFindStartCode(&reader, 0, 0xB8), -1);
    reader.file.size = 11;  // a prefix in the last four bytes is none
    EXPECT_EQ(MpegFindStartCode(&reader, 0, 0xB3), -1);
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(MpegReadByte(&reader, 15), 17);
    EXPECT_EQ(MpegReadByte(&reader, -1), 17);
    EXPECT_EQ(log_lines, (Lines{"metavideo (#) Invalid offset ", "metavideo (#) AT EOF "}));
    fclose(reader.file.stream);
}

// What the sound search must answer, byte by byte and as simply as it can be written.
static void PlainFrameScan(MpegStreamReader *reader, int64_t pos, MpegAudioInfo *info)
{
    int64_t size = reader->file.size;
    while (pos < size - 10) {
        if (MpegHeaderFind(&reader->file, &pos, info) == 0) {
            pos++;
            continue;
        }
        int64_t remembered = pos;
        int64_t k = 0;
        while (pos + info->frame_length + k < size &&
               Mp3ReadByte(&reader->file, info->frame_length + k + 1) == 0)
            k++;
        if (MpegHeaderCheck(&reader->file, info->frame_offset + info->frame_length + k) != -1)
            return;
        pos = remembered + 1;
    }
}

TEST(MpegSound, SearchAnswersAsThePlainOne)
{
    srand(7);
    for (int round = 0; round < 400; round++) {
        // Mostly syncs, zeros and half headers, so that padding and false candidates are met often. The first
        // header is refused, which starts the scan.
        std::string content = StartCode(0xC0) + Bytes({0, 0, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF});
        size_t size = 200 + static_cast<size_t>(rand()) % 6000;
        static constexpr int common[] = {0xFF, 0xFD, 0xFB, 0xF5, 0x10, 0x14, 0x90, 0, 0, 0, 0, 0x22};
        while (content.size() < size)
            content.push_back(
                static_cast<char>(rand() % 8 ? common[static_cast<size_t>(rand()) % 12] : rand()));
        std::string path = Scratch("/volume1/video/a.dat");
        WriteFile(path, content);

        MpegAudioInfo found[2] = {};
        for (int plain = 0; plain < 2; plain++) {
            MpegStreamReader reader = {};
            reader.file.stream = fopen(path.c_str(), "rb");
            reader.file.size = static_cast<int64_t>(content.size());
            reader.kind = MPEG_STREAM_1;
            log_lines.clear();
            if (plain) {
                int64_t pos = 7;
                if (MpegHeaderFind(&reader.file, &pos, &found[1]) == 0)
                    PlainFrameScan(&reader, pos, &found[1]);
            } else {
                MpegSoundFind(&reader, &found[0]);
            }
            fclose(reader.file.stream);
        }
        EXPECT_EQ(memcmp(&found[0], &found[1], sizeof found[0]), 0) << round;
    }
}

// What was read from files so far, by this process; -1 where that is not told.
static long BytesRead()
{
    std::ifstream io("/proc/self/io");
    std::string name;
    long bytes = -1;
    return io >> name >> bytes ? bytes : -1;
}

TEST(MpegSound, PaddingNearAndFarInTurnsCostsNoReadEach)
{
    if (BytesRead() < 0)
        GTEST_SKIP() << "no /proc/self/io";
    std::string content = "x" + SequenceHeader() + PICTURE_GROUP + StartCode(0xC0) + std::string(80, '\x11');
    content.resize(500);          // the padding of frames of 417 bytes ends here,
    content.resize(501, '\x11');  // that of frames of 1440 bytes
    content.resize(60000);        // far behind
    content += Bytes({0xFF, 0xF9, 0x90, 0});
    for (int i = 0; i < 3000; i++)
        content += Bytes({0xFF, 0xFB, 0x90, 0, 0xFF, 0xFB, 0xE8, 0});
    content.resize(200000);
    long before = BytesRead();
    EXPECT_EQ(Parse(content, 0).bitrate, 320000u);
    EXPECT_LT(BytesRead() - before, 4 * 200000);
}

TEST(VideoCd, FileOfAnEncoderInItsWrapper)
{
    std::string mpg = Scratch("/volume1/video/a.mpg");
    MakeFolder(Scratch("/volume1/video"));
    std::string command =
        "ffmpeg -v error -nostdin -f lavfi -i testsrc=size=352x288:rate=25:duration=3 -f lavfi -i "
        "sine=duration=3 -target pal-vcd -y " +
        mpg;
    ASSERT_EQ(system(command.c_str()), 0);
    // As it is copied from a disc: a RIFF header, then sectors of 2352 bytes with 2324 of the stream in each.
    std::string stream = ReadFile(mpg);
    std::string wrapped =
        "RIFF" + std::string(4, '\x11') + "CDXAfmt " + std::string(20, '\x11') + "data" + "\x11\x11\x11\x11";
    for (size_t at = 0; at < stream.size(); at += 2324) {
        std::string sector = stream.substr(at, 2324);
        sector.resize(2324, '\0');
        wrapped += std::string(1, '\0') + std::string(10, '\xFF') + std::string(1, '\0') +
                   std::string(12, '\x01') + sector + std::string(4, '\x77');
    }
    for (const std::string &content : {stream, wrapped}) {
        MediaInfoRecord record = Parse(content, 0);
        EXPECT_EQ(record.resolution_x, 352u);
        EXPECT_EQ(record.resolution_y, 288u);
        EXPECT_EQ(record.bitrate, 224000u);
        EXPECT_EQ(record.frequency, 44100u);
        EXPECT_EQ(record.container_bitrate, 2875000u);
        EXPECT_NEAR(record.duration, static_cast<double>(content.size()) * 8 / 1150000, 0.01);
    }
}

TEST(VideoCd, TruncatedAnywhereItIsSurvived)
{
    std::string content = "x" + SequenceHeader() + SequenceExtension(1, 0x60, 0, 0x21) +
                          SoundPacket(SoundFrame()) + PICTURE_GROUP;
    for (size_t size = 0; size < content.size(); size++) {
        std::string path = Scratch("/volume1/video/a.dat");
        WriteFile(path, content.substr(0, size));
        MediaInfoRecord record = {};
        (void)VideoMetaParse(path.c_str(), &record);
    }
}

TEST(VideoCd, BadParametersAndMissingFiles)
{
    EXPECT_EQ(VideoIndexAdd(nullptr), -1);
    EXPECT_EQ(VideoIndexAdd(""), -1);
    EXPECT_EQ(log_lines, Lines(2, "video (#) Bad parameter."));
    EXPECT_EQ(VideoIndexAdd("/nowhere/a.dat"), -1);
    EXPECT_EQ(log_lines.size(), 2u);
    EXPECT_EQ(platform.calls, Lines{});
    MediaInfoRecord record = {};
    EXPECT_EQ(VideoMetaParse("/nowhere/a.dat", &record), -1);
    EXPECT_EQ(log_lines.back(), "metavideo (#) Unable to open /nowhere/a.dat ");
}

TEST(VideoCd, PipeDoesNotBlock)
{
    std::string path = Scratch("/volume1/pipe.dat");
    ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
    EXPECT_EQ(VideoIndexAdd(path.c_str()), 1);
}

TEST(VideoCd, FailedSaveKeepsTheOutcomeOfTheParse)
{
    platform.results["MediaInfoDBSave"] = -1;
    std::string path = Scratch("/volume1/video/a.dat");
    WriteFile(path, SequenceHeader() + PICTURE_GROUP);
    EXPECT_EQ(VideoIndexAdd(path.c_str()), -1);
    EXPECT_EQ(log_lines, Lines{"video (#) Failed to save media info to database."});
    WriteFile(path, "nothing");
    EXPECT_EQ(VideoIndexAdd(path.c_str()), 1);
}

TEST(VideoCd, RemovingAFileThatStillExistsIsRefused)
{
    std::string path = Scratch("/volume1/video/a.dat");
    WriteFile(path, "");
    EXPECT_EQ(VideoIndexDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines, Lines{"video (#) File exists. Skip remove it from database."});
    EXPECT_EQ(platform.calls, Lines{});

    EXPECT_EQ(VideoIndexDelete("/gone/a.dat"), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDelete 1 /gone/a.dat"});
    platform.results["MediaInfoDBDelete"] = 1;
    EXPECT_EQ(VideoIndexDelete("/gone/a.dat"), -1);
    EXPECT_EQ(log_lines.back(), "video (#) Failed to remove [/gone/a.dat] from database");
}
