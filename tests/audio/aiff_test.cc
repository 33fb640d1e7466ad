// AIFF reader and handler.
#include "audio/aiff.h"

#include <gtest/gtest.h>
#include <math.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/aiff_reader.h"
#include "support/byte_builder.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static const char RATE_44100[] = "400E AC44000000000000";

static string Chunk(const string &id, const string &data)
{
    return id + BigBytes(data.size(), 4) + data + (data.size() % 2 ? "x" : "");
}

static string Common(uint64_t channels, uint64_t frames, uint64_t sample_size, const char *rate,
                     const string &more = "")
{
    return Chunk("COMM", BigBytes(channels, 2) + BigBytes(frames, 4) + BigBytes(sample_size, 2) +
                             HexBytes(rate) + more);
}

static string Form(const string &type, const string &chunks)
{
    return "FORM" + BigBytes(chunks.size() + 4, 4) + type + chunks;
}

// Adds the file; the stored record.
static MediaInfoRecord Added(const string &content)
{
    string path = Scratch("/volume1/music/Album/Song.one.aiff");
    WriteFile(path, content);
    EXPECT_EQ(AiffIndexAdd(path.c_str()), 0);
    EXPECT_FALSE(platform.saved.empty());
    return platform.saved.empty() ? MediaInfoRecord{} : platform.saved.back();
}

static void ExpectNoAudio(const MediaInfoRecord &record)
{
    EXPECT_EQ(record.channels, 0u);
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.bitrate, 0u);
    EXPECT_EQ(record.frequency, 0u);
}

TEST(Aiff, TenSecondsOfCompactDiscSound)
{
    string content = Form("AIFF", Common(2, 441000, 16, RATE_44100) + Chunk("SSND", ZeroBytes(100)));
    MediaInfoRecord record = Added(content);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.bitrate, 1411200u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.filesize, content.size());
    EXPECT_STREQ(record.title, "Song.one");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    EXPECT_STREQ(record.modify_time, "2000-01-02 03:04:05");
    string path = Scratch("/volume1/music/Album/Song.one.aiff");
    EXPECT_EQ(platform.calls, (vector<string>{"MediaInfoValid " + path, "MediaInfoDBSave 0 " + path}));
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Aiff, AFileThatIsNoneIsStoredSilentlyWithoutAudio)
{
    string whole = Form("AIFF", Common(2, 441000, 16, RATE_44100));
    string riff = whole;
    riff.replace(0, 4, "RIFF");
    string wave = whole;
    wave.replace(8, 4, "WAVE");
    string no_length = whole;
    no_length.replace(4, 4, ZeroBytes(4));
    for (const string &content :
         {riff, wave, no_length, string(), string("FORM"), Form("AIFF", ""), Form("AIFF", Chunk("SSND", "")),
          Form("AIFF", Chunk("COMM", ZeroBytes(17))), Form("AIFF", Chunk("comm", ZeroBytes(18)))}) {
        MediaInfoRecord record = Added(content);
        ExpectNoAudio(record);
        EXPECT_STREQ(record.title, "Song.one");
        EXPECT_STREQ(record.album, "Album");
        EXPECT_EQ(record.filesize, content.size());
    }
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Aiff, TruncatedInTheCommonChunkItHasNoAudio)
{
    string whole = Form("AIFC", Common(2, 441000, 16, RATE_44100, "sowt"));
    for (size_t length = 0; length < whole.size(); length++)
        ExpectNoAudio(Added(whole.substr(0, length)));
    EXPECT_EQ(Added(whole).channels, 2u);
}

TEST(Aiff, AChunkOfOddLengthIsSkippedWithItsPadByte)
{
    EXPECT_EQ(
        Added(Form("AIFF", Chunk("NAME", "odd") + Chunk("ANNO", "") + Common(1, 1, 8, RATE_44100))).channels,
        1u);
}

TEST(Aiff, ChunksOfAnyLengthAreSkipped)
{
    for (size_t length : {1, 4000, 4094, 4095, 4096, 4097, 4098, 8191, 100000})
        EXPECT_EQ(Added(Form("AIFF", Chunk("NAME", string(length, 'n')) + Chunk("ANNO", string(length, 'a')) +
                                         Common(3, 1, 8, RATE_44100)))
                      .channels,
                  3u)
            << length;
}

// Seconds that this process has spent in the kernel.
static double KernelSeconds()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_stime.tv_sec) + static_cast<double>(usage.ru_stime.tv_usec) / 1e6;
}

TEST(Aiff, AFileOfShortChunksCostsNoSeekEach)
{
    static constexpr int CHUNKS = 1000000;
    string path = Scratch("/volume1/music/a.aiff");
    string chunks;
    chunks.reserve(CHUNKS * 8);
    for (int i = 0; i < CHUNKS; i++)
        chunks.append("ANNO\0\0\0\0", 8);
    WriteFile(path, Form("AIFF", chunks));
    FILE *file = fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);

    double before = KernelSeconds();
    for (int i = 0; i < CHUNKS; i++)
        (void)fseeko(file, 0, SEEK_CUR);
    double seeks = KernelSeconds() - before;
    fclose(file);

    before = KernelSeconds();
    EXPECT_EQ(AiffOpen(path.c_str(), AIFF_READ), nullptr);
    EXPECT_LT(KernelSeconds() - before, seeks / 2);
}

TEST(Aiff, OnlyTheFirstCommonChunkCounts)
{
    EXPECT_EQ(Added(Form("AIFF", Common(1, 1, 8, RATE_44100) + Common(2, 2, 16, RATE_44100))).channels, 1u);
    ExpectNoAudio(Added(Form("AIFF", Chunk("COMM", "short") + Common(2, 2, 16, RATE_44100))));
}

TEST(Aiff, AHugeChunkLengthEndsTheSearch)
{
    for (uint64_t length : {0xFFFFFFFFull, 0x80000000ull, 0x7FFFFFFFull})
        ExpectNoAudio(Added(Form("AIFF", "JUNK" + BigBytes(length, 4) + Common(2, 1, 16, RATE_44100))));
}

TEST(Aiff, ACommonChunkBeyondFourGigabytesIsFound)
{
    // The length is odd, and rounding it up must not wrap to 0.
    string path = Scratch("/volume1/music/a.aiff");
    WriteFile(path, Form("AIFF", "JUNK" + BigBytes(0xFFFFFFFF, 4)));
    FILE *file = fopen(path.c_str(), "r+b");
    ASSERT_EQ(fseeko(file, 20 + 0x100000000, SEEK_SET), 0);
    string common = Common(6, 1, 16, RATE_44100);
    fwrite(common.data(), 1, common.size(), file);
    fclose(file);
    EXPECT_EQ(AiffIndexAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).channels, 6u);
}

TEST(AiffReader, CompressionTypesAndTheirSampleSizes)
{
    static constexpr struct {
        const char *form;
        const char *type;
        uint64_t bits;
        int sample_size;
        int bytes_per_sample;
    } cases[] = {
        {"AIFC", "NONE", 12, 12, 2}, {"AIFC", "lpcm", 24, 24, 3}, {"AIFC", "twos", 8, 8, 1},
        {"AIFC", "sowt", 16, 16, 2}, {"AIFC", "ULAW", 16, 14, 2}, {"AIFC", "ulaw", 8, 14, 2},
        {"AIFC", "ALAW", 16, 13, 2}, {"AIFC", "alaw", 8, 13, 2},  {"AIFC", "FL32", 64, 32, 4},
        {"AIFC", "fl32", 8, 32, 4},  {"AIFC", "ima4", 4, 4, 1},   {"AIFC", "uLaw", 8, 8, 1},  // case counts
        {"AIFF", "ulaw", 16, 16, 2},  // a plain file has no compression
        {"AIFC", "ula", 16, 16, 2},   // a common chunk of 21 bytes has none either
        {"AIFC", "", 1, 1, 1},
    };
    for (const auto &c : cases) {
        string path = Scratch("/a.aiff");
        WriteFile(path, Form(c.form, Common(2, 7, c.bits, RATE_44100, c.type)));
        AiffFile *file = AiffOpen(path.c_str(), AIFF_READ);
        ASSERT_NE(file, nullptr) << c.type;
        uint64_t frames = 0;
        int sample_size = 0;
        int bytes_per_sample = 0;
        EXPECT_EQ(AiffGetAudioFormat(file, &frames, nullptr, nullptr, &sample_size, &bytes_per_sample), 1);
        EXPECT_EQ(frames, 7u) << c.type;
        EXPECT_EQ(sample_size, c.sample_size) << c.type;
        EXPECT_EQ(bytes_per_sample, c.bytes_per_sample) << c.type;
        AiffClose(file);
    }
}

TEST(AiffReader, ExtendedPrecisionRates)
{
    static constexpr struct {
        const char *bytes;
        double rate;
    } cases[] = {
        {"400E AC44000000000000", 44100.0},      {"C00E AC44000000000000", -44100.0},
        {"400F BB80000000000000", 96000.0},      {"400D AC44000000000000", 22050.0},
        {"3FFF 8000000000000000", 1.0},          {"3FFE 8000000000000000", 0.5},
        {"401E 8000000080000000", 2147483648.5},  // the low word counts
        {"0000 0000000000000000", 0.0},          {"8000 0000000000000000", 0.0},
        {"400E 0000000000000000", 0.0},  // without its integer bit
        {"7FFF 0000000000000000", INFINITY},     {"FFFF C000000000000000", -INFINITY},
        {"7FFE FFFFFFFFFFFFFFFF", INFINITY},  // above the largest double
        {"0001 8000000000000000", 0.0},       // below the smallest
    };
    for (const auto &c : cases) {
        string path = Scratch("/a.aiff");
        WriteFile(path, Form("AIFF", Common(2, 7, 16, c.bytes)));
        AiffFile *file = AiffOpen(path.c_str(), AIFF_READ);
        ASSERT_NE(file, nullptr) << c.bytes;
        double rate = -1;
        EXPECT_EQ(AiffGetAudioFormat(file, nullptr, nullptr, &rate, nullptr, nullptr), 1);
        EXPECT_EQ(rate, c.rate) << c.bytes;
        AiffClose(file);
    }
}

TEST(AiffReader, AnswersOnlyForAHandleOpenForReading)
{
    string path = Scratch("/a.aiff");
    WriteFile(path, Form("AIFF", Common(2, 7, 16, RATE_44100)));
    EXPECT_EQ(AiffGetAudioFormat(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), -1);
    AiffFile closed = {};
    EXPECT_EQ(AiffGetAudioFormat(&closed, nullptr, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(AiffOpen(path.c_str(), AIFF_CLOSED), nullptr);
    EXPECT_EQ(AiffOpen(nullptr, AIFF_READ), nullptr);
    EXPECT_EQ(AiffOpen(Scratch("/none").c_str(), AIFF_READ), nullptr);
    EXPECT_EQ(AiffOpen(Scratch("/volume1").c_str(), AIFF_READ), nullptr);
    AiffClose(nullptr);
}

TEST(Aiff, ValuesThatDoNotFitArePinned)
{
    static constexpr struct {
        const char *rate;
        uint32_t bitrate;
        uint32_t frequency;
        float duration;
    } cases[] = {
        {"7FFF 0000000000000000", UINT32_MAX, UINT32_MAX, 0.0f},  // infinite
        {"C00E AC44000000000000", 0, 0, 0.0f},                    // negative
        {"401E FFFFFFFF00000000", UINT32_MAX, 4294967295u, 441000.0f / 4294967295.0f},
        {"401F FFFFFFFF00000000", UINT32_MAX, UINT32_MAX, 441000.0f / 8589934590.0f},
        {"0000 0000000000000000", 0, 0, 0.0f},
        {"3FFE 8000000000000000", 16, 0, 882000.0f},  // half a sample a second
    };
    for (const auto &c : cases) {
        MediaInfoRecord record = Added(Form("AIFF", Common(2, 441000, 16, c.rate)));
        EXPECT_EQ(record.bitrate, c.bitrate) << c.rate;
        EXPECT_EQ(record.frequency, c.frequency) << c.rate;
        EXPECT_FLOAT_EQ(record.duration, c.duration) << c.rate;
    }
}

TEST(Aiff, ChannelsAndSampleSizeAreUnsigned)
{
    MediaInfoRecord record = Added(Form("AIFF", Common(65535, 0xFFFFFFFF, 65535, "3FFF 8000000000000000")));
    EXPECT_EQ(record.channels, 65535u);
    EXPECT_EQ(record.bitrate, 65535u * 65535u);
    EXPECT_EQ(record.duration, 4294967295.0f);
}

TEST(Aiff, FilesOfTwoProgramsInEveryCompression)
{
    static constexpr struct {
        const char *name;
        uint32_t bits;
    } cases[] = {
        {"aiff-16.aiff", 16},   {"aiff-24.aiff", 24},   {"aiff-comment.aiff", 16}, {"aifc-none.aifc", 16},
        {"aifc-sowt.aiff", 16}, {"aifc-ulaw.aiff", 14}, {"aifc-alaw.aiff", 13},    {"aifc-fl32.aiff", 32},
    };
    for (const auto &c : cases) {
        MediaInfoRecord record = Added(ReadFile(string(SAMPLE_DIR) + c.name));
        EXPECT_EQ(record.channels, 2u) << c.name;
        EXPECT_EQ(record.frequency, 8000u) << c.name;
        EXPECT_EQ(record.duration, 0.05f) << c.name;
        EXPECT_EQ(record.bitrate, c.bits * 8000 * 2) << c.name;
    }
    // Its frames are packets of 64 samples: the file opens, and the values are what the chunk says.
    EXPECT_EQ(Added(ReadFile(SAMPLE_DIR "aifc-ima4.aiff")).bitrate, 4u * 8000 * 2);
}

TEST(Aiff, APipeDoesNotBlock)
{
    string path = Scratch("/volume1/music/a.aiff");
    MakeFolder(Scratch("/volume1/music"));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(AiffIndexAdd(path.c_str()), 0);
    ExpectNoAudio(platform.saved.at(0));
}

TEST(Aiff, BadParametersAndMissingFiles)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(AiffIndexAdd(nullptr), -1);
    EXPECT_EQ(AiffIndexAdd(""), -1);
    EXPECT_EQ(AiffMetaParse("/x", nullptr), -1);
    EXPECT_EQ(log_lines, vector<string>(3, "aiff (#) Bad parameter."));
    EXPECT_EQ(AiffIndexAdd(Scratch("/none.aiff").c_str()), -1);
    EXPECT_EQ(AiffMetaParse(Scratch("/none.aiff").c_str(), &record), -1);
    EXPECT_EQ(log_lines.size(), 3u);
    EXPECT_EQ(platform.calls, vector<string>{});
}

TEST(Aiff, AFailedSaveIsReportedAsAFailure)
{
    platform.results["MediaInfoDBSave"] = 7;
    string path = Scratch("/volume1/music/a.aiff");
    WriteFile(path, "junk");
    EXPECT_EQ(AiffIndexAdd(path.c_str()), -1);
    EXPECT_EQ(log_lines, vector<string>{"aiff (#) Failed to save media info to database."});
}

TEST(Aiff, AFolderNameThatDoesNotFitIsReported)
{
    string path = Scratch("/volume1/" + string(255, 'd') + "/a.aiff");
    WriteFile(path, "junk");
    EXPECT_EQ(AiffIndexAdd(path.c_str()), 0);
    EXPECT_EQ(log_lines, vector<string>{"aiff (#) Impossible error."});
}

TEST(Aiff, DeleteForgetsOnlyAVanishedFile)
{
    string path = Scratch("/volume1/music/a.aiff");
    WriteFile(path, "x");
    EXPECT_EQ(AiffIndexDelete(path.c_str()), -1);
    EXPECT_EQ(platform.calls, vector<string>{});
    unlink(path.c_str());
    EXPECT_EQ(AiffIndexDelete(path.c_str()), 0);
    EXPECT_EQ(platform.calls, vector<string>{"MediaInfoDBDelete 0 " + path});
    platform.results["MediaInfoDBDelete"] = -1;
    EXPECT_EQ(AiffIndexDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines, (vector<string>{"aiff (#) File exists. Skip remove it from database.",
                                         "aiff (#) Failed to remove [" + path + "] from database"}));
}
