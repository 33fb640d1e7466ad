// AAC handler: the decoder's line, the decoder's moods, and paths that a shell would take apart.
#include "audio/aac.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>

#include <chrono>

#include "common/paths.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static const char GOOD_LINE[] = "x duration;12.5;samplerate;44100;channel;2;bitrate;128000;";

// A decoder that notes its arguments, one a line, and then does as the shell commands say.
static void DecoderInstall(const string &commands)
{
    WriteFile(AAC_DECODER_PROGRAM,
              "#!/bin/sh\nprintf '<%s>' \"$@\" > '" + Scratch("/arguments") + "'\n" + commands);
    chmod(AAC_DECODER_PROGRAM, 0755);
}

static string DecoderPrints(const string &line)
{
    WriteFile(Scratch("/line"), line);
    return "cat '" + Scratch("/line") + "'\n";
}

static int AddAt(const string &path)
{
    WriteFile(path, "aac");
    return AacIndexAdd(path.c_str());
}

static string Song()
{
    return Scratch("/volume1/music/Album/Song.aac");
}

TEST(Aac, TheDecoderLineGivesFourValues)
{
    DecoderInstall(DecoderPrints(string(GOOD_LINE) + "\n"));
    EXPECT_EQ(AddAt(Song()), 0);
    const MediaInfoRecord &record = platform.saved.at(0);
    EXPECT_EQ(record.duration, 12.5f);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.bitrate, 128000u);
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_EQ(record.filesize, 3u);
    EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    EXPECT_EQ(ReadFile(Scratch("/arguments")), "<-i><" + Song() + ">");
    EXPECT_EQ(platform.calls, (vector<string>{"MediaInfoValid " + Song(), "MediaInfoDBSave 0 " + Song()}));
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Aac, OnlyTheFirstLineIsRead)
{
    DecoderInstall(DecoderPrints(string(GOOD_LINE) + "\nx duration;1;samplerate;2;channel;3;bitrate;4;\n"));
    EXPECT_EQ(AddAt(Song()), 0);
    EXPECT_EQ(platform.saved.at(0).frequency, 44100u);
    DecoderInstall(DecoderPrints(string("banner\n") + GOOD_LINE + "\n"));
    EXPECT_EQ(AddAt(Song()), 1);
}

TEST(Aac, ThreeOfFourValuesAreStoredAndReported)
{
    string line = "x duration;12.5;samplerate;44100;channel;2;\n";
    DecoderInstall(DecoderPrints(line));
    EXPECT_EQ(AddAt(Song()), 1);
    const MediaInfoRecord &record = platform.saved.at(0);
    EXPECT_EQ(record.duration, 12.5f);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.bitrate, 0u);
    EXPECT_EQ(log_lines, vector<string>{"aac:# Failed to parse FAAD result. [" + line + "]"});
    EXPECT_EQ(platform.calls, vector<string>{"MediaInfoDBSave 0 " + Song()});  // without MediaInfoValid
}

TEST(Aac, LinesAndWhatIsScannedFromThem)
{
    static constexpr struct {
        const char *line;
        int result;
        float duration;
        uint32_t bitrate;
    } cases[] = {
        {GOOD_LINE, 0, 12.5f, 128000},
        {"x duration;12.5;samplerate;44100;channel;2;bitrate;128000", 0, 12.5f,
         128000},  // the last ";" is not counted
        {"  x   duration;12;samplerate; 44100;channel;2;bitrate;5;more", 0, 12.0f, 5},
        {"x duration;12.5;samplerate;44100;channel;2;bitrate;", -1, 12.5f, 0},
        {"x duration;12.5;", -1, 12.5f, 0},
        {"x duration;twelve;samplerate;44100;channel;2;bitrate;128000;", -1, 0, 0},
        {"x y duration;12.5;samplerate;44100;channel;2;bitrate;128000;", -1, 0, 0},
        {"duration;12.5;samplerate;44100;channel;2;bitrate;128000;", -1, 0, 0},  // no word before
        {"x Duration;12.5;samplerate;44100;channel;2;bitrate;128000;", -1, 0, 0},
        {"", -1, 0, 0},
        {"\n", -1, 0, 0},
        {"%s%n%s%n", -1, 0, 0},
    };
    for (const auto &c : cases) {
        MediaInfoRecord record = {};
        EXPECT_EQ(AacLineScan(c.line, &record), c.result) << c.line;
        EXPECT_EQ(record.duration, c.duration) << c.line;
        EXPECT_EQ(record.bitrate, c.bitrate) << c.line;
    }
    MediaInfoRecord record = {};
    EXPECT_EQ(AacLineScan((string(1023, 'w') + " duration;1;").c_str(), &record), -1);
    EXPECT_EQ(record.duration, 1.0f);
}

TEST(Aac, ADecoderThatPrintsNothingIsNoMessage)
{
    DecoderInstall("exit 3\n");
    EXPECT_EQ(AddAt(Song()), 1);
    EXPECT_EQ(platform.saved.size(), 1u);
    EXPECT_STREQ(platform.saved.at(0).title, "Song");
    EXPECT_EQ(log_lines, vector<string>{});
    EXPECT_EQ(platform.calls, vector<string>{"MediaInfoDBSave 0 " + Song()});
}

TEST(Aac, AMissingDecoderIsNoMessage)
{
    EXPECT_EQ(AddAt(Song()), 1);
    EXPECT_EQ(platform.saved.size(), 1u);
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Aac, HalfALineIsScannedAsFarAsItGoes)
{
    DecoderInstall(DecoderPrints("x duration;12.5;samp"));
    EXPECT_EQ(AddAt(Song()), 1);
    EXPECT_EQ(platform.saved.at(0).duration, 12.5f);
    EXPECT_EQ(log_lines, vector<string>{"aac:# Failed to parse FAAD result. [x duration;12.5;samp]"});
}

TEST(Aac, ALongLineIsCutAt1023Characters)
{
    DecoderInstall(DecoderPrints(string(10000, 'w') + "\n" + GOOD_LINE + "\n"));
    EXPECT_EQ(AddAt(Song()), 1);
    EXPECT_EQ(log_lines, vector<string>{"aac:# Failed to parse FAAD result. [" + string(1023, 'w') + "]"});

    DecoderInstall(DecoderPrints(GOOD_LINE + string(10000, 'w') + "\n"));
    EXPECT_EQ(AddAt(Song()), 0);
}

TEST(Aac, StandardErrorIsDiscarded)
{
    DecoderInstall("echo banner >&2\n" + DecoderPrints(GOOD_LINE));
    testing::internal::CaptureStderr();
    EXPECT_EQ(AddAt(Song()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Aac, TheHandlerWaitsForTheDecodersEnd)
{
    DecoderInstall(DecoderPrints(string(GOOD_LINE) + "\n") + "exec > /dev/null\nsleep 0.4\n");
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(AddAt(Song()), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
    DecoderInstall("sleep 0.4\n" + DecoderPrints(string(GOOD_LINE) + "\n"));
    EXPECT_EQ(AddAt(Song()), 0);
}

TEST(Aac, EveryPathReachesTheDecoderAsOneArgument)
{
    DecoderInstall(DecoderPrints(GOOD_LINE));
    for (const char *name :
         {"it's.aac", "a b  c.aac", "\"q\".aac", "$(touch pwned).aac", "`id`.aac", "a\\b\\\\.aac",
          "a;b&c|d.aac", "*?[x].aac", "-i.aac", "\xFF\xC3.aac", "~.aac", "!x#.aac", "\t.aac"}) {
        string path = Scratch("/volume1/") + name;
        EXPECT_EQ(AddAt(path), 0) << name;
        EXPECT_EQ(ReadFile(Scratch("/arguments")), "<-i><" + path + ">");
    }
}

TEST(Aac, APathThatCannotBeEscapedNeverReachesAShell)
{
    DecoderInstall(DecoderPrints(GOOD_LINE));
    platform.results["NLIBEncShParam"] = -1;
    string path = Scratch("/volume1/a\nb.aac");
    EXPECT_EQ(AddAt(path), 1);
    EXPECT_EQ(ReadFile(Scratch("/arguments")), "");
    EXPECT_EQ(log_lines, vector<string>{"aac:# Failed to encode string [" + path + "]"});
    EXPECT_EQ(platform.saved.size(), 1u);
}

TEST(Aac, AVeryLongPathIsStored)
{
    string folder = Scratch("/volume1");
    while (folder.size() < 3000)
        folder += "/" + string(200, '\'');
    EXPECT_EQ(AddAt(folder + "/Song.aac"), 1);  // its escaped form does not fit a command
    EXPECT_EQ(platform.saved.size(), 1u);
    EXPECT_STREQ(platform.saved.at(0).title, "Song");
}

TEST(Aac, ACommandThatWasCutIsNotRun)
{
    DecoderInstall(DecoderPrints(GOOD_LINE));
    size_t room = 4095 - strlen(AAC_DECODER_PROGRAM) - strlen(" -i ");  // two bytes for each of the path
    string fits = MakeDeepFile(Scratch("/volume1"), (room - strlen(" 2> /dev/null")) / 2, ".aac");
    EXPECT_EQ(AddAt(fits), 0);
    EXPECT_EQ(ReadFile(Scratch("/arguments")), "<-i><" + fits + ">");

    WriteFile(Scratch("/arguments"), "");
    EXPECT_EQ(AddAt(MakeDeepFile(Scratch("/volume1"), (room - 1) / 2, ".aac")), 1);  // cut behind the path
    EXPECT_EQ(ReadFile(Scratch("/arguments")), "");
    EXPECT_EQ(platform.saved.size(), 2u);
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Aac, AFailedSaveKeepsTheOutcomeOfTheParse)
{
    platform.results["MediaInfoDBSave"] = -1;
    DecoderInstall(DecoderPrints(GOOD_LINE));
    EXPECT_EQ(AddAt(Song()), -1);
    EXPECT_EQ(log_lines, vector<string>{"aac:# Failed to save media info to database. [" + Song() + "]"});
    DecoderInstall("");
    EXPECT_EQ(AddAt(Song()), 1);
}

TEST(Aac, BadParametersAndMissingFiles)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(AacIndexAdd(nullptr), -1);
    EXPECT_EQ(AacMetaParse(nullptr, &record), -1);
    EXPECT_EQ(AacMetaParse("", &record), -1);
    EXPECT_EQ(AacMetaParse("/x", nullptr), -1);
    EXPECT_EQ(log_lines, vector<string>(4, "aac:# Bad parameter."));
    log_lines.clear();
    EXPECT_EQ(AacIndexAdd(""), -1);
    EXPECT_EQ(log_lines, vector<string>{"media_record:# Bad parameter."});
    EXPECT_EQ(AacIndexAdd(Scratch("/none.aac").c_str()), -1);
    EXPECT_EQ(log_lines.size(), 1u);
    EXPECT_EQ(platform.calls, vector<string>{});
}

// The decoder would wait for a writer for ever, and the daemon for the decoder.
TEST(Aac, APipeIsListedWithoutAskingTheDecoder)
{
    DecoderInstall(DecoderPrints(string(GOOD_LINE) + "\n"));
    MakeFolder(Scratch("/volume1/music/Album"));
    ASSERT_EQ(mkfifo(Song().c_str(), 0600), 0);
    EXPECT_EQ(AacIndexAdd(Song().c_str()), 1);
    EXPECT_EQ(platform.saved.at(0).duration, 0.0f);
    EXPECT_STREQ(platform.saved.at(0).title, "Song");
    EXPECT_EQ(ReadFile(Scratch("/arguments")), "");
}
