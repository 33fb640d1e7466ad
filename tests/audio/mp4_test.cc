// MP4 handler: the record around the tags, the probe's second opinion, what is stored after a failure.
#include "audio/mp4.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "audio/mp4_builder.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static string Song()
{
    return Scratch("/volume1/music/Album/Song.m4a");
}

static MediaInfoRecord Added(const string &content, int result = 0)
{
    WriteFile(Song(), content);
    EXPECT_EQ(Mp4IndexAdd(Song().c_str()), result);
    EXPECT_FALSE(platform.saved.empty());
    return platform.saved.empty() ? MediaInfoRecord{} : platform.saved.back();
}

TEST(Mp4, WithoutTagsTheNamesComeFromThePath)
{
    string content = ReadFile(SAMPLE_DIR "m4a-no-tags.m4a");
    MediaInfoRecord record = Added(content);
    EXPECT_EQ(record.path, Song());
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_EQ(record.filesize, content.size());
    EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    EXPECT_STREQ(record.modify_time, "2000-01-02 03:04:05");
    EXPECT_EQ(platform.calls, (vector<string>{"GetCoverFolder", "CleanOldCover " + Scratch("/covers"),
                                              "MediaInfoValid " + Song(), "MediaInfoDBSave 0 " + Song()}));
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(Mp4, TagsStayAndTheProbesSoundValuesWin)
{
    MediaInfoRecord parsed = {};
    WriteFile(Song(), ReadFile(SAMPLE_DIR "m4a-tags.m4a"));
    EXPECT_EQ(Mp4MetaParse(Song().c_str(), &parsed), 0);
    MediaInfoRecord record = Added(ReadFile(SAMPLE_DIR "m4a-tags.m4a"));
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.album, "Record");
    EXPECT_EQ(record.year, 2005);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.duration, 2.0f);
    EXPECT_NE(record.bitrate, 0u);
    EXPECT_EQ(record.container_bitrate, parsed.container_bitrate);  // nothing else of the probe's is used
}

TEST(Mp4, TheProbeFillsWhatTheDescriptorDoesNotSay)
{
    MediaInfoRecord record = Added(ReadFile(SAMPLE_DIR "m4a-alac.m4a"));
    EXPECT_NE(record.bitrate, 0u);
    EXPECT_EQ(record.frequency, 8000u);
}

TEST(Mp4, TheProbeGivesTheLastSoundTrack)
{
    MediaInfoRecord record = Added(ReadFile(SAMPLE_DIR "m4a-two-sounds.m4a"));
    EXPECT_EQ(record.frequency, 8000u);
    EXPECT_EQ(record.channels, 1u);
}

TEST(Mp4, ValuesStayWhenTheProbeFails)
{
    // Sound and pictures are declared, and there is nothing behind them that a demuxer could use.
    string content = Mp4File(Mp4Track(SOUND));
    content.replace(content.find("mp4a"), 4, "\x01\x02\x03\x04");
    MediaInfoRecord record = Added(content.substr(content.find("moov") - 4));
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.duration, 10.0f);
}

TEST(Mp4, AnUnreadableFileIsStoredWithItsDefaults)
{
    for (const string &content : {string(), string(5000, '\xFF'), Mp4File("")}) {
        MediaInfoRecord record = Added(content, 1);
        EXPECT_STREQ(record.title, "Song");
        EXPECT_STREQ(record.album, "Album");
        EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    }
    EXPECT_EQ(log_lines, (vector<string>{"mp4:# Failed to parse mp4 metadata from [" + Song() + "].",
                                         "mp4 (#) Failed to parse mp4 metadata.",
                                         "mp4:# Failed to parse mp4 metadata from [" + Song() + "].",
                                         "mp4 (#) Failed to parse mp4 metadata.", "mp4 (#) No tracks in mp4.",
                                         "mp4 (#) Failed to parse mp4 metadata."}));
}

TEST(Mp4, WhatTheProbeKnowsOfAFileThatTheLibraryRefusesIsStored)
{
    MediaInfoRecord record = Added(ReadFile(SAMPLE_DIR "tone.aac"), 1);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_STREQ(record.title, "Song");
}

TEST(Mp4, AFailedSaveDoesNotChangeTheAnswer)
{
    platform.results["MediaInfoDBSave"] = -1;
    (void)Added(ReadFile(SAMPLE_DIR "m4a-no-tags.m4a"), 0);
    EXPECT_EQ(log_lines, vector<string>{"mp4 (#) Failed to save media info to database."});
    (void)Added("junk", 1);
}

TEST(Mp4, BadParametersAndMissingFiles)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp4IndexAdd(nullptr), -1);
    EXPECT_EQ(Mp4IndexAdd(""), -1);
    EXPECT_EQ(Mp4MetaParse("/x", nullptr), -1);
    EXPECT_EQ(log_lines, vector<string>(3, "mp4 (#) Bad parameter."));
    EXPECT_EQ(Mp4IndexAdd(Scratch("/none.m4a").c_str()), -1);
    EXPECT_EQ(Mp4MetaParse(Scratch("/volume1").c_str(), &record), -1);
    EXPECT_EQ(log_lines.size(), 3u);
    EXPECT_EQ(platform.calls, vector<string>{});
}

TEST(Mp4, AFolderNameThatDoesNotFitIsReported)
{
    string path = Scratch("/volume1/" + string(255, 'd') + "/a.m4a");
    WriteFile(path, Mp4File(Mp4Track(SOUND)));
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp4MetaParse(path.c_str(), &record), 0);
    EXPECT_EQ(log_lines, vector<string>{"mp4 (#) Impossible error."});
}

TEST(Mp4, DeleteForgetsOnlyAVanishedFile)
{
    WriteFile(Song(), "x");
    EXPECT_EQ(Mp4IndexDelete(Song().c_str()), -1);
    unlink(Song().c_str());
    EXPECT_EQ(Mp4IndexDelete(Song().c_str()), 0);
    platform.results["MediaInfoDBDelete"] = -1;
    EXPECT_EQ(Mp4IndexDelete(Song().c_str()), -1);
    EXPECT_EQ(platform.calls, vector<string>(2, "MediaInfoDBDelete 0 " + Song()));
    EXPECT_EQ(log_lines, (vector<string>{"mp4 (#) File exists. Skip remove it from database.",
                                         "mp4 (#) Failed to remove [" + Song() + "] from database"}));
}
