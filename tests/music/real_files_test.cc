// Files as the world's encoders and tag editors write them, made while the test runs.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>

#include "music/id3v2.h"
#include "music/metaid3.h"
#include "music/music.h"
#include "music/open_bytes.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

// Six seconds of noise that no encoder gets small; every file of these tests starts with it.
static constexpr double SECONDS = 6;

class RealFiles : public testing::Test
{
  protected:
    void SetUp() override
    {
        MakeFolder(Scratch("/volume1/music"));
        Run("sox -n -r 44100 -c 2 -b 16 in.wav synth 6 pinknoise vol 0.5");
    }

    // Runs a command line in the music folder, quietly.
    static void Run(const std::string &command)
    {
        std::string line = "cd " + Scratch("/volume1/music") + " && (" + command + ") >log 2>&1 </dev/null";
        ASSERT_EQ(system(line.c_str()), 0) << command << "\n" << ReadFile(Scratch("/volume1/music/log"));
    }

    // The record of a file in the music folder.
    static std::unique_ptr<MediaInfoRecord> Index(const std::string &name, int expected = 0)
    {
        EXPECT_EQ(MusicIndexAdd(Scratch("/volume1/music/" + name).c_str()), expected) << name;
        EXPECT_FALSE(platform.saved.empty());
        return std::make_unique<MediaInfoRecord>(platform.saved.back());
    }

    static double FileSize(const std::string &name)
    {
        return static_cast<double>(ReadFile(Scratch("/volume1/music/" + name)).size());
    }
};

TEST_F(RealFiles, LameConstantBitRate)
{
    Run("lame --quiet -b 128 --cbr in.wav a.mp3 && lame --quiet -b 128 --cbr -t in.wav b.mp3");
    for (const char *name : {"a.mp3", "b.mp3"}) {  // with its "Info" header, and without
        auto record = Index(name);
        EXPECT_EQ(record->bitrate, 128000u) << name;
        EXPECT_EQ(record->frequency, 44100u);
        EXPECT_EQ(record->channels, 2u);
        EXPECT_EQ(record->duration, static_cast<float>(FileSize(name) / 128 * 0.008));
        EXPECT_NEAR(record->duration, SECONDS, 0.1);
    }
    EXPECT_TRUE(log_lines.empty());
}

TEST_F(RealFiles, LameVariableBitRate)
{
    Run("lame --quiet -V 4 in.wav a.mp3 && lame --quiet -V 4 -t in.wav b.mp3 && lame --quiet --abr 150 in.wav "
        "c.mp3");
    for (const char *name : {"a.mp3", "c.mp3"}) {
        auto record = Index(name);
        EXPECT_NEAR(record->duration, SECONDS, 0.1) << name;
        EXPECT_NEAR(record->bitrate, FileSize(name) * 8 / record->duration, 1000) << name;
    }
    // Without its Xing header the first frame's bit rate counts for the whole file.
    auto record = Index("b.mp3");
    EXPECT_EQ(record->duration, static_cast<float>(FileSize("b.mp3") / (record->bitrate / 1000) * 0.008));
}

TEST_F(RealFiles, OtherSampleRates)
{
    Run("lame --quiet -b 64 --resample 22.05 -m m in.wav mpeg2.mp3 && lame --quiet --resample 8 in.wav "
        "mpeg25.mp3 && "
        "lame --quiet -b 320 --resample 48 -m s in.wav high.mp3");
    auto record = Index("mpeg2.mp3");
    EXPECT_EQ(record->frequency, 22050u);
    EXPECT_EQ(record->channels, 1u);
    EXPECT_NEAR(record->duration, SECONDS, 0.2);
    record = Index("high.mp3");
    EXPECT_EQ(record->frequency, 48000u);
    EXPECT_EQ(record->bitrate, 320000u);
    record = Index("mpeg25.mp3", 1);  // never read
    EXPECT_STREQ(record->title, "mpeg25");
    EXPECT_EQ(record->frequency, 0u);
}

TEST_F(RealFiles, LameTags)
{
    Run("lame --quiet --id3v2-only --id3v2-latin1 --tt Titel --ta Band --tl Platte --ty 1984 --tn 3/12 --tg "
        "Rock --tc Hallo "
        "in.wav a.mp3");
    Run("lame --quiet --id3v1-only --tt Titel --ta Band --tl Platte --ty 1984 --tn 3 --tg Rock --tc Hallo "
        "in.wav b.mp3");
    for (const char *name : {"a.mp3", "b.mp3"}) {
        auto record = Index(name);
        EXPECT_STREQ(record->title, "Titel") << name;
        EXPECT_STREQ(record->artist, "Band");
        EXPECT_STREQ(record->album, "Platte");
        EXPECT_EQ(record->year, 1984);
        EXPECT_EQ(record->track, 3);
        EXPECT_STREQ(record->genre, "Rock") << name;
        EXPECT_STREQ(record->comment, "Hallo") << name;
    }
}

// The text follows an empty description of two zeros, the first of which ends it: the comment is lost.
TEST_F(RealFiles, LameTagsInUtf16)
{
    Run("lame --quiet --id3v2-only --id3v2-utf16 --tt Titel --tc Hallo in.wav a.mp3");
    auto record = Index("a.mp3");
    EXPECT_EQ(std::string(record->title, 14), std::string("\xFF\xFET\0i\0t\0e\0l\0\0\0", 14));
    EXPECT_EQ(record->title_encoding, 1u);
    EXPECT_STREQ(record->comment, "");
    EXPECT_EQ(record->comment_encoding, 0u);
}

TEST_F(RealFiles, LameCover)
{
    Run("ffmpeg -v error -f lavfi -i testsrc=size=64x64 -frames:v 1 cover.jpg");
    Run("lame --quiet -b 128 --ti cover.jpg in.wav a.mp3");
    EXPECT_EQ(Index("a.mp3")->cover_count, 1u);
    EXPECT_EQ(ReadFile(Scratch("/covers/cover")), ReadFile(Scratch("/volume1/music/cover.jpg")));
}

TEST_F(RealFiles, FfmpegWithBothVersionsOfId3v2)
{
    std::string tags =
        "-metadata title='Ångström' -metadata artist=Band -metadata album=Platte -metadata track=4/9 "
        "-metadata disc=2/2 -metadata composer=Jemand -metadata genre=Jazz";
    Run("ffmpeg -v error -i in.wav " + tags + " -id3v2_version 3 v3.mp3 && ffmpeg -v error -i in.wav " + tags +
        " -id3v2_version 4 v4.mp3");
    for (const char *name : {"v3.mp3", "v4.mp3"}) {
        auto record = Index(name);
        EXPECT_STREQ(record->artist, "Band") << name;
        EXPECT_STREQ(record->genre, "Jazz");
        EXPECT_STREQ(record->composer, "Jemand");
        EXPECT_EQ(record->track, 4);
        EXPECT_EQ(record->disc, 2);
        EXPECT_EQ(record->frequency, 44100u);
        // The file is of 128 kbit/s, but its "Info" frame comes first, and that is of 64.
        EXPECT_EQ(record->bitrate, 64000u);
        EXPECT_NEAR(record->duration, 2 * SECONDS, 0.2);
    }
    auto record = Index("v4.mp3");
    EXPECT_STREQ(record->title, "Ångström");  // UTF-8
    EXPECT_EQ(record->title_encoding, 0u);
    record = Index("v3.mp3");
    EXPECT_EQ(std::string(record->title, 4), std::string("\xFF\xFE\xC5\0", 4));  // UTF-16
    EXPECT_EQ(record->title_encoding, 1u);
}

TEST_F(RealFiles, Sox)
{
    Run("sox in.wav -C 128 a.mp3");
    auto record = Index("a.mp3");
    EXPECT_EQ(record->bitrate, 128000u);
    EXPECT_NEAR(record->duration, SECONDS, 0.1);
}

// Names in the encodings of the world, all written as plain text: the bytes come out as they went in.
TEST_F(RealFiles, EightBitTextsStayAsFound)
{
    static constexpr struct {
        const char *what;
        const char *text;
    } cases[] = {
        {"Latin-1", "Bj\xF6rk Gu\xF0mundsd\xF3ttir"},
        {"CP1251", "\xCA\xE8\xED\xEE"},
        {"Shift-JIS", "\x93\xFA\x96\x7B\x8C\xEA"},
        {"GBK", "\xD6\xD0\xCE\xC4"},
        {"Big5", "\xA4\xA4\xA4\xE5"},
        {"EUC-KR", "\xC7\xD1\xB1\xDB"},
    };
    Run("lame --quiet -b 128 in.wav plain.mp3");
    for (const auto &c : cases) {
        Run(std::string("cp plain.mp3 a.mp3 && id3v2 -2 -t '") + c.text + "' -a '" + c.text + "' a.mp3");
        Run(std::string("cp plain.mp3 b.mp3 && id3v2 -1 -t '") + c.text + "' -a '" + c.text + "' b.mp3");
        for (const char *name : {"a.mp3", "b.mp3"}) {
            auto record = Index(name);
            EXPECT_STREQ(record->title, c.text) << c.what << " " << name;
            EXPECT_STREQ(record->artist, c.text) << c.what << " " << name;
            EXPECT_EQ(record->title_encoding, 0u);
        }
    }
}

TEST_F(RealFiles, MutagenTextsAndCover)
{
    Run("lame --quiet -b 128 in.wav a.mp3");
    Run("ffmpeg -v error -f lavfi -i testsrc=size=64x64 -frames:v 1 cover.jpg");
    Run("LC_ALL=C.UTF-8 mid3v2 -t 中文 -a Band -A Platte -g '(17)' -T 5/6 -p 'cover.jpg:ab:3:image/jpeg' "
        "a.mp3");
    auto record = Index("a.mp3");
    EXPECT_STREQ(record->title, "中文");
    EXPECT_STREQ(record->genre, "Rock");
    EXPECT_EQ(record->track, 5);
    EXPECT_EQ(record->cover_count, 1u);
    // The description is UTF-16 and ends at its first single zero; what is left of it goes with the picture.
    EXPECT_EQ(ReadFile(Scratch("/covers/cover")),
              std::string("b\0\0\0", 4) + ReadFile(Scratch("/volume1/music/cover.jpg")));
}

// ---- files that lost their end ----

// Where a text was cut, missing bytes (17) stand in its place.
static void ExpectPrefix(const char *got, const std::string &whole, size_t cut)
{
    for (size_t i = 0; got[i] && i < whole.size(); i++)
        ASSERT_TRUE(got[i] == whole[i] || got[i] == 17) << whole << " cut at " << cut;
}

static void ExpectPrefixes(const Id3v2Tag &got, const Id3v2Tag &whole, size_t cut)
{
    ExpectPrefix(got.title, whole.title, cut);
    ExpectPrefix(got.artist, whole.artist, cut);
    ExpectPrefix(got.album, whole.album, cut);
    ExpectPrefix(got.genre, whole.genre, cut);
    ExpectPrefix(got.comment, whole.comment, cut);
}

static Id3v2Tag TagOf(const std::string &file, int *version, int64_t *size)
{
    Mp3FileReader reader = OpenBytes(file);
    Id3v2Tag tag = {};
    *size = Id3v2Size(&reader, version);
    if (*size > 0)
        Id3v2Read(&tag, &reader, *version, Scratch("/volume1/music/a.mp3").c_str());
    CloseReader(&reader);
    return tag;
}

TEST_F(RealFiles, TagsCutAtEveryByte)
{
    Run("lame --quiet -b 128 in.wav v4.mp3");
    Run("ffmpeg -v error -f lavfi -i testsrc=size=16x16 -frames:v 1 cover.png");
    Run("mid3v2 -t Titel -a Band -A Platte -g Rock -c Text -p cover.png v4.mp3");
    Run("lame --quiet -b 128 in.wav v3.mp3 && id3v2 -2 -t Titel -a Band -A Platte -g 17 -c Text v3.mp3");
    for (const char *name : {"v4.mp3", "v3.mp3"}) {
        std::string file = ReadFile(Scratch("/volume1/music/") + name);
        int version = 0;
        int64_t size = 0;
        Id3v2Tag whole = TagOf(file, &version, &size);
        ASSERT_STREQ(whole.title, "Titel");
        ASSERT_GT(size, 100);
        std::string path = Scratch("/volume1/music/cut.mp3");
        WriteFile(path, file);
        for (size_t cut = static_cast<size_t>(size) + 20; cut-- > 0;) {
            int64_t cut_size = 0;
            Id3v2Tag tag = TagOf(file.substr(0, cut), &version, &cut_size);
            ASSERT_NO_FATAL_FAILURE(ExpectPrefixes(tag, whole, cut));
            if (cut >= 10) {  // the header is there
                ASSERT_EQ(cut_size, size);
            }
            ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(cut)), 0);
            MediaInfoRecord record = {};
            ASSERT_EQ(Mp3MetaParse(path.c_str(), &record), -1) << cut;  // no frame is left
        }
    }
}

TEST_F(RealFiles, AnId3v1TagCutAtEveryByte)
{
    Run("lame --quiet -b 128 --id3v1-only --tt Titel in.wav a.mp3");
    std::string file = ReadFile(Scratch("/volume1/music/a.mp3"));
    std::string path = Scratch("/volume1/music/cut.mp3");
    for (size_t cut = file.size() - 140; cut <= file.size(); cut++) {
        WriteFile(path, file.substr(0, cut));
        MediaInfoRecord record = {};
        ASSERT_EQ(Mp3MetaParse(path.c_str(), &record), 0) << cut;
        ASSERT_STREQ(record.title, cut == file.size() ? "Titel" : "") << cut;
    }
}
