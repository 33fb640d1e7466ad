// Real files of every format that the probe reads, and what must stand in their rows.
#include <gtest/gtest.h>

#include <filesystem>

#include "system/box.h"
#include "system/rows.h"

// Copies samples to their places on the volume and indexes them in one batch.
static void IndexSamples(const Texts &samples)
{
    Texts lines;
    for (const std::string &sample : samples) {
        FileCopy(Sample(sample), "/volume1/" + sample);
        lines.push_back("a:/volume1/" + sample);
    }
    Index(lines);
    EXPECT_EQ(Log(), Texts());
}

static Row Indexed(const std::string &table, const std::string &sample)
{
    IndexSamples({sample});
    return RowOf(table, "/volume1/" + sample);
}

static void ExpectSong(Row row, const std::string &number, const std::string &title)
{
    EXPECT_EQ(row["title"], title);
    EXPECT_EQ(row["artist"], "The Formats");
    EXPECT_EQ(row["album"], "Various");
    EXPECT_EQ(row["genre"], "Rock");
    EXPECT_EQ(row["track"], number);
}

TEST(Media, WaveOfCompactDiscQuality)
{
    Row row = Indexed("music", "music/Various/wave.wav");
    EXPECT_EQ(row["bitrate"], "1411200");
    EXPECT_EQ(row["frequency"], "44100");
    EXPECT_EQ(row["channels"], "2");
    EXPECT_EQ(row["duration"], "8.0");
    EXPECT_EQ(row["year"], "2001");
    EXPECT_EQ(row["filesize"], std::to_string(std::filesystem::file_size(Sample("music/Various/wave.wav"))));
    ExpectSong(row, "3", "Wave");
}

TEST(Media, WaveOfEightBits)
{
    Row row = Indexed("music", "music/Various/eight-bits.wav");
    EXPECT_EQ(row["bitrate"], std::to_string(11025 * 8));
    EXPECT_EQ(row["channels"], "1");
    ExpectSong(row, "4", "Eight bits");
}

TEST(Media, OggTagsStandInTheStream)
{
    Row row = Indexed("music", "music/日本の音楽/夜の歌.ogg");
    EXPECT_EQ(row["title"], "夜の歌");
    EXPECT_EQ(row["artist"], "山田太郎");
    EXPECT_EQ(row["album"], "日本の音楽");
    EXPECT_EQ(row["genre"], "J-Pop");
    EXPECT_EQ(row["year"], "2011");
    EXPECT_EQ(row["track"], "1");
    EXPECT_EQ(row["duration"], "8.0");
    EXPECT_EQ(row["frequency"], "44100");
}

TEST(Media, WindowsMediaAudio)
{
    Row row = Indexed("music", "music/日本の音楽/朝の歌.wma");
    EXPECT_EQ(row["title"], "朝の歌");
    EXPECT_EQ(row["album"], "日本の音楽");
    EXPECT_EQ(row["bitrate"], "96000");
    EXPECT_EQ(row["track"], "2");
    EXPECT_EQ(row["duration"], "8.0");
}

TEST(Media, OtherAudioFormats)
{
    static const struct {
        const char *sample;
        const char *frequency;
        const char *channels;
        const char *bitrate;
        const char *duration;
    } cases[] = {
        {"music/Various/dolby.ac3", "44100", "2", "192000", "8.0"},
        {"music/Various/layer-two.mp2", "44100", "2", "160000", "8.0"},
        {"music/Various/layer-two.mpa", "44100", "2", "160000", "8.0"},
        {"music/Various/real.ra", "8000", "1", "8000", "0.0"},  // its header gives no play time
    };
    Texts samples;
    for (const auto &c : cases)
        samples.push_back(c.sample);
    IndexSamples(samples);
    for (const auto &c : cases) {
        Row row = RowOf("music", std::string("/volume1/") + c.sample);
        EXPECT_EQ(row["frequency"], c.frequency) << c.sample;
        EXPECT_EQ(row["channels"], c.channels) << c.sample;
        EXPECT_EQ(row["bitrate"], c.bitrate) << c.sample;
        EXPECT_EQ(row["duration"], c.duration) << c.sample;
    }
}

TEST(Media, Films)
{
    static const struct {
        const char *sample;
        const char *title;
        const char *width;
        const char *height;
        const char *duration = "4.0";
    } cases[] = {
        {"video/Films/film.avi", "Avi", "320", "240"},
        {"video/Films/film.divx", "Divx", "320", "240"},
        {"video/Films/film.xvid", "Xvid", "320", "240"},
        {"video/Films/Été 2009/plage.mkv", "Matroska", "320", "240"},
        {"video/Films/Été 2009/mer.mp4", "La mer", "320", "240"},
        {"video/Films/film.m4v", "iTunes", "320", "240"},
        {"video/Films/film.mov", "QuickTime", "320", "240"},
        {"video/Films/film.qt", "QuickTime", "320", "240"},
        {"video/Films/film.flv", "Flash", "320", "240"},
        {"video/Films/film.wmv", "Windows", "320", "240"},
        {"video/Films/film.asf", "Advanced", "320", "240"},
        {"video/Films/phone.3gp", "phone", "176", "144"},
        {"video/Films/phone.3g2", "phone", "176", "144"},
        {"video/Films/film.rm", "RealMedia", "320", "240"},
        {"video/Films/film.rmvb", "RealMedia", "320", "240"},
        {"video/Films/program.mpg", "program", "320", "240", "3.0"},  // 3.99 s; program streams carry no title
        {"video/Films/program.mpeg", "program", "320", "240"},
        {"video/Disc/VTS_01_1.VOB", "VTS_01_1", "720", "576"},
        {"video/Films/transport.ts", "transport", "320", "240"},
        {"video/Films/transport.m2t", "transport", "320", "240"},
        {"video/Films/transport.tp", "transport", "320", "240"},
        {"video/Films/transport.trp", "transport", "320", "240"},
        {"video/Films/camera.m2ts", "camera", "320", "240"},
        {"video/Films/camera.mts", "camera", "320", "240"},
    };
    Texts samples;
    for (const auto &c : cases)
        samples.push_back(c.sample);
    IndexSamples(samples);
    for (const auto &c : cases) {
        Row row = RowOf("video", std::string("/volume1/") + c.sample);
        EXPECT_EQ(row["title"], c.title) << c.sample;
        EXPECT_EQ(row["resolution_x"], c.width) << c.sample;
        EXPECT_EQ(row["resolution_y"], c.height) << c.sample;
        EXPECT_EQ(row["duration"], c.duration) << c.sample;
        EXPECT_NE(row["container_bitrate"], "0") << c.sample;
    }
}

TEST(Media, FilmsNeverTakeTheAlbumOfTheContainer)
{
    std::string path = "/volume1/video/Folder/film.mkv";
    FileWrite(path, "");
    Finished encoder =
        ProgramRun({"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", Sample("video/Films/film.avi"),
                    "-c", "copy", "-metadata", "album=Container", "-metadata", "title=Title", path});
    ASSERT_EQ(encoder.status, 0) << encoder.output;
    Index({"a:" + path});
    EXPECT_EQ(RowOf("video", path)["album"], "Folder");
    EXPECT_EQ(RowOf("video", path)["title"], "Title");
}

TEST(Media, ListedOnly)
{
    static const Texts films = {
        "video/Films/Été 2009/mer.srt", "video/Films/Été 2009/mer.ass", "video/Films/Été 2009/mer.ssa",
        "video/Films/Été 2009/mer.idx", "video/Films/Été 2009/mer.sub", "video/Films/Été 2009/mer.smi",
        "video/Films/Été 2009/mer.psb", "video/Disc/backup.iso",        "video/Disc/VIDEO_TS.IFO",
    };
    IndexSamples(films);
    for (const std::string &sample : films) {
        Row row = RowOf("video", "/volume1/" + sample);
        EXPECT_EQ(row["filesize"], std::to_string(std::filesystem::file_size(Sample(sample)))) << sample;
        EXPECT_EQ(row["duration"], "0.0") << sample;
    }
    EXPECT_FALSE(Indexed("music", "music/Various/plucked.pcm").empty());
    EXPECT_FALSE(Indexed("playlist", "music/favourites.m3u").empty());
    EXPECT_FALSE(Indexed("playlist", "music/evening.wpl").empty());
}
