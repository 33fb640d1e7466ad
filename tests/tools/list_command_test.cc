// nuboindex list: its forms, what it leaves out, its orders.
#include <gtest/gtest.h>
#include <string.h>

#include <nlohmann/json.hpp>

#include "list_rows.h"
#include "platform/media_index.h"
#include "support/scratch.h"
#include "tool_run.h"

using nlohmann::json;

struct ListCommand : testing::Test {
    void SetUp() override
    {
        NUBOIndexMusicTableDirtySet(0);  // the library looks whether its databases are still the same files
    }
};

static MediaInfoRecord Record(const char *path, const char *title)
{
    MediaInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    snprintf(record.title, sizeof record.title, "%s", title);
    return record;
}

static void SongSave()
{
    MediaInfoRecord record = Record("/volume1/music/A/b.mp3", "Song");
    strcpy(record.artist, "Artist");
    strcpy(record.album, "Album");
    record.duration = 253.5f;
    record.bitrate = 192000;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
}

static void LibrarySave()
{
    SongSave();
    MediaInfoRecord video = Record("/volume1/video/v.mkv", "Film");
    video.duration = 5400;
    video.resolution_x = 1920;
    video.resolution_y = 1080;
    video.container_bitrate = 4500400;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_VIDEO, &video), 0);
    MediaInfoRecord photo = Record("/volume1/photo/p.jpg", "p");
    strcpy(photo.camera_model, "Camera 1");
    strcpy(photo.date_taken, "2024-5-6 7:8:9");
    photo.resolution_x = 640;
    photo.resolution_y = 480;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PHOTO, &photo), 0);
    MediaInfoRecord playlist = Record("/volume1/music/l.m3u", "l");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PLAYLIST, &playlist), 0);
    MakeFolder(Scratch("/volume1/music/A"));
    ASSERT_EQ(MediaInfoDBDirSave(Scratch("/volume1/music/A").c_str()), 0);
}

TEST_F(ListCommand, EveryKindHasItsColumns)
{
    LibrarySave();
    const struct {
        const char *kind;
        std::string lines;
    } cases[] = {
        {"music", "title,artist,album,time,kbit/s,path\nSong,Artist,Album,4:14,192,/volume1/music/A/b.mp3\n"},
        {"video", "title,time,size,kbit/s,path\nFilm,1:30:00,1920x1080,4500,/volume1/video/v.mkv\n"},
        {"photo", "title,taken,size,camera,path\np,2024-5-6 7:8:9,640x480,Camera 1,/volume1/photo/p.jpg\n"},
        {"playlist", "title,path\nl,/volume1/music/l.m3u\n"},
        {"directory", "path\n" + Scratch("/volume1/music/A") + "\n"},
    };
    for (const auto &c : cases) {
        ToolResult result = RunTool({"list", c.kind});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, c.lines);
        EXPECT_EQ(RunTool({"list", c.kind, "--csv"}, 100).out, c.lines);  // on a terminal too
    }
}

TEST_F(ListCommand, RowsComeInTheOrderOfTheirPathsAndUnknownValuesAreEmpty)
{
    for (const char *path : {"/b.mp3", "/a.mp3", "/\xff.mp3", "/B.mp3"}) {
        MediaInfoRecord record = Record(path, "");
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    }
    EXPECT_EQ(RunTool({"list", "music"}).out, "title,artist,album,time,kbit/s,path\n,,,,,/B.mp3\n,,,,,/a.mp3\n"
                                              ",,,,,/b.mp3\n,,,,,/\\xff.mp3\n");
}

TEST_F(ListCommand, AValueOfCsvCannotLeaveItsCellOrItsLine)
{
    MediaInfoRecord record = Record("/a,b\n.mp3", "\"so\", he said");
    strcpy(record.artist, "say \"it\"");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    EXPECT_EQ(RunTool({"list", "music"}).out,
              "title,artist,album,time,kbit/s,path\n"
              "\"\"\"so\"\", he said\",\"say \"\"it\"\"\",,,,\"/a,b\\x0a.mp3\"\n");
}

TEST_F(ListCommand, OnATerminalItIsATableThatFits)
{
    SongSave();
    EXPECT_EQ(RunTool({"list", "music"}, 100).out, "TITLE ARTIST ALBUM TIME KBIT/S PATH\n"
                                                   "Song  Artist Album 4:14    192 /volume1/music/A/b.mp3\n");
}

TEST_F(ListCommand, JsonIsOneArrayWithOneRowALine)
{
    EXPECT_EQ(RunTool({"list", "music", "--json"}).out, "[]\n");
    SongSave();
    MediaInfoRecord record = Record("/volume1/music/\xe9t\xe9.mp3", "x");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);

    ToolResult result = RunTool({"list", "music", "--json"});
    json rows = json::parse(result.out);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 4);
    EXPECT_EQ(rows[0]["path"], "/volume1/music/A/b.mp3");
    EXPECT_EQ(rows[0]["duration"], 253.5);
    EXPECT_FALSE(rows[0].contains("path_percent"));
    EXPECT_EQ(rows[1]["path"], "/volume1/music/\xef\xbf\xbdt\xef\xbf\xbd.mp3");
    EXPECT_EQ(rows[1]["path_percent"], "/volume1/music/%e9t%e9.mp3");
}

TEST_F(ListCommand, JsonLinesAreObjectsOfTheirOwn)
{
    EXPECT_EQ(RunTool({"list", "music", "--json-lines"}).out, "");
    SongSave();
    MediaInfoRecord record = Record("/volume1/music/line\nfeed.mp3", "x");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    std::string text = RunTool({"list", "music", "--json-lines"}).out;
    ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_EQ(json::parse(text.substr(0, text.find('\n')))["artist"], "Artist");
    EXPECT_EQ(json::parse(text.substr(text.find('\n')))["path"], "/volume1/music/line\nfeed.mp3");
}

TEST_F(ListCommand, OneFormAtATime)
{
    EXPECT_EQ(RunTool({"list", "music", "--json", "--csv"}).status, 2);
    EXPECT_EQ(RunTool({"list", "music", "--json", "--json-lines"}).status, 2);
    EXPECT_EQ(RunTool({"list", "music", "--csv", "--json-lines"}).status, 2);
}

TEST_F(ListCommand, AnUnknownKindIsAUsageError)
{
    EXPECT_EQ(RunTool({"list", "songs"}).status, 2);
    EXPECT_EQ(RunTool({"list"}).status, 2);
}

// Four songs whose paths, artists, albums, times and numbers are in different orders.
struct ListSelection : ListCommand {
    void SetUp() override
    {
        ListCommand::SetUp();
        //    path      title   artist            album     disc track year time  size  changed
        Save("/a.mp3", "vier", "The Band", "Second", 1, 10, 1999, 61, 900, "2024-02-01 10:00:00");
        Save("/b.mp3", "Drei", "the band", "second", 1, 9, 1999, 600, 1000, "2023-12-31 23:59:59");
        Save("/c.mp3", "eins", "\u00c9lan", "100% [Live]", 2, 1, 0, 9, 70000000000, "2024-01-01 00:00:00");
        Save("/d.mp3", "ZWEI", "", "", 0, 0, 800, 0, 5, "");
    }

    static void Save(const char *path, const char *title, const char *artist, const char *album, int disc,
                     int track, int year, float duration, int64_t size, const char *changed)
    {
        MediaInfoRecord record = Record(path, title);
        strcpy(record.artist, artist);
        strcpy(record.album, album);
        record.disc = disc;
        record.track = track;
        record.year = year;
        record.duration = duration;
        record.filesize = size;
        strcpy(record.create_time, changed);
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    }

    // The letters of the paths that are listed.
    static std::string Listed(const std::vector<std::string> &options)
    {
        std::vector<std::string> words = {"list", "music", "--json"};
        words.insert(words.end(), options.begin(), options.end());
        ToolResult result = RunTool(words);
        EXPECT_EQ(result.status, 0) << result.err;
        std::string letters;
        for (const json &row : json::parse(result.out))
            letters += row["path"].get<std::string>()[1];
        return letters;
    }
};

TEST_F(ListSelection, ArtistAndAlbumAreFoundByAPartWhateverItsCase)
{
    EXPECT_EQ(Listed({"--artist", "BAND"}), "ab");
    EXPECT_EQ(Listed({"--artist", "\u00e9LAN"}), "c");
    EXPECT_EQ(Listed({"--artist", "%"}), "");
    EXPECT_EQ(Listed({"--album", "100%"}), "c");
    EXPECT_EQ(Listed({"--album", "[live]"}), "c");
    EXPECT_EQ(Listed({"--artist", "the", "--album", "second"}), "ab");
    EXPECT_EQ(Listed({"--artist", "the", "--album", "live"}), "");
    EXPECT_EQ(Listed({"--artist", "' or '1'='1"}), "");
    EXPECT_EQ(Listed({"--artist", "\xff"}), "");
}

TEST_F(ListSelection, SinceCountsFromTheTimeOnAndLeavesUnknownTimesOut)
{
    EXPECT_EQ(Listed({"--since", "2024-01-01"}), "ac");
    EXPECT_EQ(Listed({"--since", "2023-12-31 23:59"}), "abc");
    EXPECT_EQ(Listed({"--since", "2024-01-01 00:00:01"}), "a");
    EXPECT_EQ(Listed({"--since", "2w"}), "");
}

TEST_F(ListSelection, EverySortHasItsOrder)
{
    const struct {
        const char *sort, *letters;
    } cases[] = {
        {"path", "abcd"},   {"title", "bcad"},  // letters without case
        {"artist", "dbac"},                     // by track as a number in the same album; \u00e9 comes behind z
        {"album", "dcba"},                      // none first
        {"year", "cdab"},                       // equal ones by path
        {"time", "dcab"},   {"size", "dabc"},  {"changed", "dbca"}, {"taken", "abcd"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Listed({"--sort", c.sort}), c.letters) << c.sort;
        std::string reversed(strlen(c.letters), ' ');
        std::reverse_copy(c.letters, c.letters + strlen(c.letters), reversed.begin());
        EXPECT_EQ(Listed({"--sort", c.sort, "--reverse"}), reversed) << c.sort;
    }
    EXPECT_EQ(LIST_SORTS.size(), std::size(cases));
}

TEST_F(ListSelection, CamerasTimesAreSortedAsNumbers)
{
    int number = 0;
    for (const char *taken :
         {"2024-10-1 0:0:0", "2024-9-30 23:59:59", "2024-9-30 4:5:6", "2024-09-30 04:05:07"}) {
        MediaInfoRecord record = Record(("/" + std::to_string(number++) + ".jpg").c_str(), "x");
        strcpy(record.date_taken, taken);
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PHOTO, &record), 0);
    }
    std::string order;
    for (const json &row : json::parse(RunTool({"list", "photo", "--sort", "taken", "--json"}).out))
        order += row["path"].get<std::string>()[1];
    EXPECT_EQ(order, "2310");
}

TEST_F(ListSelection, WhatAKindDoesNotHaveIsAUsageError)
{
    for (const std::vector<std::string> &words : {std::vector<std::string>{"directory", "--artist", "x"},
                                                  {"directory", "--since", "today"},
                                                  {"albums", "--album", "x"},
                                                  {"albums", "--sort", "path"},
                                                  {"music", "--sort", "path; drop table music"},
                                                  {"music", "--since", "sometime"},
                                                  {"music", "--since", ""}}) {
        std::vector<std::string> line = {"list"};
        line.insert(line.end(), words.begin(), words.end());
        EXPECT_EQ(RunTool(line).status, 2) << words[0] << words[1];
    }
    EXPECT_EQ(RunTool({"list", "directory", "--sort", "path", "--reverse"}).status, 0);
}

TEST(ListSince, TimesAsPeopleWriteThem)
{
    struct tm parts = {};
    ASSERT_NE(strptime("2026-03-01 10:20:30", "%Y-%m-%d %H:%M:%S", &parts), nullptr);
    parts.tm_isdst = -1;
    time_t now = mktime(&parts);
    const struct {
        const char *given, *since;
    } cases[] = {
        {"2024-02-29", "2024-02-29 00:00:00"},
        {"2024-2-9 7:05", "2024-02-09 07:05:00"},
        {"2024-02-29T23:59:59", "2024-02-29 23:59:59"},
        {"today", "2026-03-01 00:00:00"},
        {"yesterday", "2026-02-28 00:00:00"},
        {"20m", "2026-03-01 10:00:30"},
        {"1d", "2026-02-28 10:20:30"},
        {"1w", "2026-02-22 10:20:30"},
        {"2023-02-29", ""},  // no such day
        {"24-02-29", ""},
        {"2024-13-01", ""},
        {"2024-02-29 25:00", ""},
        {"2024-02-29x", ""},
        {"d", ""},
        {"3", ""},
        {"-3d", ""},
        {"9999999d", ""},
        {"3dd", ""},
        {"", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ListSince(c.given, now), c.since) << c.given;
}
