// Probing real files made by real encoders.
#include "video/probe.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/log_capture.h"
#include "support/record_text.h"
#include "support/scratch.h"
#include "video/probe_parse.h"

using Lines = std::vector<std::string>;

// Runs ffmpeg on generated input; `arguments` ends before the output file.
static std::string Encode(const std::string &arguments, const std::string &name)
{
    std::string path = Scratch("/volume1/" + name);
    std::string command = "ffmpeg -v error -nostdin -y " + arguments + " '" + path + "'";
    EXPECT_EQ(system(command.c_str()), 0) << command;
    return path;
}

static constexpr char TONE[] = "-f lavfi -i sine=frequency=440:sample_rate=44100:duration=3.7 ";
static constexpr char PICTURE[] = "-f lavfi -i testsrc=size=320x240:rate=25:duration=3.7 ";

static MediaInfoRecord Probe(const std::string &path, int expected_result)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaProbeRun(path.c_str(), &record), expected_result) << path;
    return record;
}

TEST(Probe, WavWith16BitPcmStereo)
{
    MediaInfoRecord record = Probe(Encode(std::string(TONE) + "-ac 2 -c:a pcm_s16le", "a.wav"), 0);
    EXPECT_EQ(record.bitrate, 1411200u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, 3.0f);  // whole seconds
    EXPECT_EQ(record.resolution_x, 0u);
}

TEST(Probe, PcmRatesAreComputedFor8BitCodecsAndTakenForWideOnes)
{
    static constexpr struct {
        const char *codec;
        uint32_t bitrate;
    } cases[] = {
        {"pcm_u8", 44100 * 8},
        {"pcm_alaw", 44100 * 8},
        {"pcm_mulaw", 44100 * 8},
        {"pcm_s24le", 44100 * 24},
    };
    for (const auto &c : cases) {
        MediaInfoRecord record = Probe(Encode(std::string(TONE) + "-ac 1 -c:a " + c.codec, "a.wav"), 0);
        EXPECT_EQ(record.bitrate, c.bitrate) << c.codec;
    }
}

TEST(Probe, OggTagsAreFoundInTheStream)
{
    MediaInfoRecord record =
        Probe(Encode(std::string(TONE) +
                         "-c:a libvorbis -metadata title=Tune -metadata artist=Band -metadata album=Disc "
                         "-metadata genre=Folk -metadata date=2004-05-06 -metadata track=3/12",
                     "a.ogg"),
              0);
    EXPECT_STREQ(record.title, "Tune");
    EXPECT_STREQ(record.artist, "Band");
    EXPECT_STREQ(record.album, "Disc");
    EXPECT_STREQ(record.genre, "Folk");
    EXPECT_EQ(record.year, 2004);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.frequency, 44100u);
}

TEST(Probe, WmaTagsAreFoundInTheContainer)
{
    MediaInfoRecord record = Probe(
        Encode(std::string(TONE) + "-ac 2 -c:a wmav2 -b:a 128k -metadata title=Tune -metadata author=Band "
                                   "-metadata album=Disc -metadata year=1999 -metadata track=7",
               "a.wma"),
        0);
    EXPECT_STREQ(record.title, "Tune");
    EXPECT_STREQ(record.artist, "Band");
    EXPECT_STREQ(record.album, "Disc");
    EXPECT_EQ(record.year, 1999);
    EXPECT_EQ(record.track, 7);
    EXPECT_EQ(record.bitrate, 128000u);
}

TEST(Probe, VideoNeverTakesTheContainersAlbum)
{
    MediaInfoRecord record = Probe(
        Encode(std::string(TONE) + PICTURE + "-c:v mpeg4 -c:a aac -metadata title=Film -metadata album=Disc",
               "a.mp4"),
        0);
    EXPECT_STREQ(record.title, "Film");
    EXPECT_STREQ(record.album, "");
    EXPECT_EQ(record.resolution_x, 320u);
    EXPECT_EQ(record.resolution_y, 240u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_GT(record.container_bitrate, 0u);
    EXPECT_EQ(record.duration, 3.0f);
}

TEST(Probe, TrackNameIsNoTitleOfAVideo)
{
    MediaInfoRecord record =
        Probe(Encode(std::string(TONE) + PICTURE + "-c:v mpeg4 -c:a libvorbis -metadata:s:a title=Commentary",
                     "a.mkv"),
              0);
    EXPECT_STREQ(record.title, "");
}

TEST(Probe, AttachedPictureIsCoverArtAndNotVideo)
{
    std::string cover = Encode("-f lavfi -i color=red:size=64x48 -frames:v 1", "cover.jpg");
    MediaInfoRecord record =
        Probe(Encode(std::string(TONE) + "-i '" + cover + "' -map 0 -map 1 -c:v mjpeg -c:a aac " +
                         "-disposition:v attached_pic -metadata album=Disc -f ipod",
                     "a.m4a"),
              0);
    EXPECT_EQ(record.resolution_x, 0u);
    EXPECT_STREQ(record.album, "Disc");
}

TEST(Probe, AttachmentStreamEndsTheLoopWithFailure)
{
    WriteFile(Scratch("/volume1/font.ttf"), "not really a font");
    std::string path = Encode(std::string(TONE) + "-attach '" + Scratch("/volume1/font.ttf") +
                                  "' -metadata:s:t mimetype=application/x-truetype-font -c:a libvorbis",
                              "a.mkv");
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaProbeParse(path.c_str(), &record), 1);
    EXPECT_EQ(log_lines, Lines{"probe_parse:# Invalid stream type:4 from [" + path + "]."});
    EXPECT_EQ(record.frequency, 44100u);  // what came before it stays
}

TEST(Probe, UnreadableFileKeepsItsDefaultsAndYieldsOne)
{
    for (const char *content : {"", "this is not a media file", "RIFF\xff\xff\xff\xffWAVEfmt "}) {
        std::string path = Scratch("/volume1/broken.wma");
        WriteFile(path, content);
        MediaInfoRecord record = {};
        strcpy(record.title, "broken");
        record.filesize = 24;
        EXPECT_EQ(MediaProbeRun(path.c_str(), &record), 1);
        EXPECT_STREQ(record.title, "broken");
        EXPECT_EQ(record.filesize, 24u);
    }
}

TEST(Probe, UnopenableFileIsReported)
{
    std::string path = Scratch("/volume1/broken.wma");
    WriteFile(path, "this is not a media file");
    MediaInfoRecord record = {};
    EXPECT_EQ(MediaProbeParse(path.c_str(), &record), 1);
    EXPECT_EQ(log_lines, Lines{"probe_parse (#) Failed to av_open_input_file() file [" + path + "]."});
    EXPECT_EQ(RecordText(record), "");
}

TEST(Probe, PipesAreNotWaitedFor)
{
    std::string path = Scratch("/volume1/pipe.wma");
    ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
    Probe(path, 1);
}

TEST(Probe, StreamOfSubtitlesAloneIsNoMedia)
{
    std::string srt = Scratch("/volume1/a.srt");
    WriteFile(srt, "1\n00:00:00,000 --> 00:00:02,000\nHello\n");
    Probe(Encode("-i '" + srt + "' -c:s srt", "a.mkv"), 1);
}

// FFmpeg marks an unknown play time with the smallest integer; a raw stream on which it cannot seek has none.
TEST(Probe, UnknownDurationIsStoredAsItComes)
{
    std::string path = Encode(std::string(PICTURE) + "-c:v mpeg4 -f matroska -live 1", "live.mkv");
    MediaInfoRecord record = Probe(path, 0);
    EXPECT_LT(record.duration, 0.0f);
    EXPECT_EQ(record.resolution_x, 320u);
}

TEST(Probe, NamesOfAnyBytesReachTheDemuxerAsTheyAre)
{
    std::string wav = ReadFile(Encode(std::string(TONE) + "-c:a pcm_s16le", "a.wav"));
    for (const char *name : {"/volume1/http:a.wav", "/volume1/a b'c\"d\\e%d.wav", "/volume1/\xff\xfe.wav",
                             "/volume1/line\nfeed.wav", "/volume1/%03d.wav"}) {
        WriteFile(Scratch(name), wav);
        EXPECT_EQ(Probe(Scratch(name), 0).frequency, 44100u) << name;
    }
}

// A playlist that calls itself a media file must not make the daemon open other addresses.
TEST(Probe, DisguisedPlaylistOpensNothingElse)
{
    std::string path = Scratch("/volume1/stream.ts");
    WriteFile(path,
              "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nhttp://127.0.0.1:9/a.ts\n#EXT-X-ENDLIST\n");
    Probe(path, 1);
}

TEST(Probe, TruncatedFilesNeverHarmTheParent)
{
    std::string whole = ReadFile(Encode(std::string(TONE) + PICTURE + "-c:v mpeg4 -c:a aac", "a.mp4"));
    std::string path = Scratch("/volume1/cut.mp4");
    for (size_t size = 0; size < whole.size(); size += whole.size() / 23 + 1) {
        WriteFile(path, whole.substr(0, size));
        MediaInfoRecord record = {};
        int result = MediaProbeRun(path.c_str(), &record);
        EXPECT_TRUE(result == 0 || result == 1) << size;
    }
}
