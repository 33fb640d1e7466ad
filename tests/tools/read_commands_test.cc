// The sub-commands that read: status, show, failures, on real databases.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "common/paths.h"
#include "nlib/config.h"
#include "nubodb/database.h"
#include "platform/media_index.h"
#include "platform/sdk.h"
#include "support/scratch.h"
#include "tool_run.h"

using nlohmann::json;

static constexpr unsigned int UNREADABLE_FILE = 0x11B00510;

// The library keeps its databases open; at the start of a batch it looks whether they are still the same files.
struct Databases : testing::Test {
    void SetUp() override
    {
        NUBOIndexMusicTableDirtySet(0);
    }
};
struct ShowCommand : Databases {
};
struct FailuresCommand : Databases {
};
struct StatusCommand : Databases {
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
    record.frequency = 44100;
    record.filesize = 5000000;
    record.track = 3;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
}

static void VideoSave()
{
    MediaInfoRecord record = Record("/volume1/video/v.mkv", "Film");
    record.duration = 5400;
    record.resolution_x = 1920;
    record.resolution_y = 1080;
    record.container_bitrate = 4500400;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_VIDEO, &record), 0);
}

static void PhotoSave()
{
    MediaInfoRecord record = Record("/volume1/photo/p.jpg", "p");
    strcpy(record.camera_model, "Camera 1");
    strcpy(record.date_taken, "2024-5-6 7:8:9");
    record.resolution_x = 640;
    record.resolution_y = 480;
    record.iso = 100;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PHOTO, &record), 0);
}

static void LibrarySave()
{
    SongSave();
    VideoSave();
    PhotoSave();
    MediaInfoRecord playlist = Record("/volume1/music/l.m3u", "l");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PLAYLIST, &playlist), 0);
    MakeFolder(Scratch("/volume1/music/A"));
    ASSERT_EQ(MediaInfoDBDirSave(Scratch("/volume1/music/A").c_str()), 0);
}

TEST_F(ShowCommand, PrintsWhatIsKnownWithUnits)
{
    SongSave();
    ToolResult result = RunTool({"show", "/volume1/music//A/./b.mp3"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "/volume1/music/A/b.mp3\n"
                          "  kind               music\n"
                          "  title              Song\n"
                          "  artist             Artist\n"
                          "  album              Album\n"
                          "  track              3\n"
                          "  duration           4:14 (253.500 s)\n"
                          "  bitrate            192000 bit/s\n"
                          "  frequency          44100 Hz\n"
                          "  filesize           5000000 bytes (4.8 MiB)\n");
}

TEST_F(ShowCommand, ListsTheCovers)
{
    MediaInfoRecord record = Record("/volume1/music/c.mp3", "c");
    record.cover_count = 1;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    char cover[4096], folder[4096];
    ASSERT_TRUE(GetCoverFolder(record.path, folder, sizeof folder));
    ASSERT_TRUE(GetCoverPath(record.path, cover, sizeof cover, 3, 1, 1));
    WriteFile(cover, "jpeg");
    std::string name = strrchr(cover, '/') + 1;

    std::string text = RunTool({"show", record.path}).out;
    EXPECT_NE(text.find("  cover_folder       " + std::string(folder) + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  cover              " + name + "\n"), std::string::npos) << text;
    json row = json::parse(RunTool({"show", record.path, "--json"}).out);
    EXPECT_EQ(row["cover_folder"], folder);
    EXPECT_EQ(row["covers"], json::array({name}));
}

TEST_F(ShowCommand, AFileWithoutCoversGetsNoCoverFolder)
{
    SongSave();
    EXPECT_EQ(RunTool({"show", "/volume1/music/A/b.mp3"}).status, 0);
    struct stat status;
    EXPECT_NE(stat(Scratch("/state/covers").c_str(), &status), 0);
}

TEST_F(ShowCommand, FindsPathsOfAnyBytesAndOnlyThem)
{
    for (const char *path :
         {"/it's.mp3", "/back\\slash.mp3", "/100%_.mp3", "/\xff\xfe.mp3", "/new\nline.mp3"}) {
        MediaInfoRecord record = Record(path, path);
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
        EXPECT_EQ(RunTool({"show", path}).status, 0) << path;
    }
    EXPECT_EQ(RunTool({"show", "/x' or '1'='1"}).status, 1);
    EXPECT_EQ(RunTool({"show", "/100%x.mp3"}).status, 1);
    ToolResult result = RunTool({"show", "/missing\x1b.mp3"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "nuboindex: '/missing\\x1b.mp3' is not in the index\n");
}

TEST_F(ShowCommand, KnowsFoldersToo)
{
    LibrarySave();
    std::string folder = Scratch("/volume1/music/A");
    EXPECT_EQ(RunTool({"show", folder + "/"}).out, folder + "\n  kind               directory\n");
    json row = json::parse(RunTool({"show", folder, "--json"}).out);
    EXPECT_EQ(row, json({{"kind", "directory"}, {"path", folder}}));
}

TEST_F(ShowCommand, ControlCharactersOfTagsDoNotReachTheTerminal)
{
    MediaInfoRecord record = Record("/volume1/music/\x1b[2J.mp3", "\x1b]0;title\x07");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    for (const char *option : {"--json", ""}) {
        std::vector<std::string> show = {"show", record.path}, list = {"list", "music"};
        if (*option) {
            show.push_back(option);
            list.push_back(option);
        }
        for (int width : {0, 80}) {
            EXPECT_EQ(RunTool(show, width).out.find_first_of("\x1b\x07"), std::string::npos);
            EXPECT_EQ(RunTool(list, width).out.find_first_of("\x1b\x07"), std::string::npos);
        }
    }
}

TEST_F(FailuresCommand, NamesTheFilesThatCouldNotBeRead)
{
    EXPECT_EQ(RunTool({"failures"}).out, "");
    EXPECT_EQ(RunTool({"failures", "--json"}).out, "[]\n");
    ASSERT_EQ(NUBOLogSet1(2, 3, UNREADABLE_FILE, "/volume1/music/bad.mp3", "", "", ""), 0);
    ASSERT_EQ(NUBOLogSet1(2, 3, 0x11B00511, "another event", "", "", ""), 0);
    ASSERT_EQ(NUBOLogSet1(2, 3, UNREADABLE_FILE, "/volume1/music/\xff\t\n.mp3", "", "", ""), 0);

    std::string text = RunTool({"failures"}).out;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_EQ(text.find("\t/volume1/music/bad.mp3\tis gone\n"), strlen("2026-01-01 00:00:00"));
    EXPECT_NE(text.find("\t/volume1/music/\\xff\\x09\\x0a.mp3\tis gone\n"), std::string::npos) << text;

    json rows = json::parse(RunTool({"failures", "--json"}).out);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["path"], "/volume1/music/bad.mp3");
    EXPECT_EQ(rows[0]["reason"], "is gone");
    EXPECT_EQ(std::string(rows[0]["time"]).size(), strlen("2026-01-01T00:00:00Z"));
    EXPECT_EQ(rows[1]["path_percent"], "/volume1/music/%ff%09%0a.mp3");
}

TEST_F(StatusCommand, CountsEverything)
{
    LibrarySave();
    WriteFile(INDEX_QUEUE_PATH, "a:/1\na:/2\n");
    ToolResult result = RunTool({"status"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "daemon           not running\n"
                          "queue            2 waiting\n"
                          "batch            none\n"
                          "watch            not running\n"
                          "rows\n"
                          "  music          1\n"
                          "  video          1\n"
                          "  photo          1\n"
                          "  playlist       1\n"
                          "  directory      1\n"
                          "  photo_database 0\n"
                          "  albums         0\n");
}

TEST_F(StatusCommand, JsonHasNullForWhatIsUnknown)
{
    json status = json::parse(RunTool({"status", "--json"}).out);
    EXPECT_EQ(status["daemon"], json({{"running", false}, {"pid", nullptr}}));
    EXPECT_EQ(status["queue"]["lines"], 0);
    EXPECT_EQ(status["batch"], nullptr);
    EXPECT_EQ(status["watch"], nullptr);
    EXPECT_EQ(status["rows"]["music"], 0);

    SleepingProcess daemon("nuboindexd");
    WriteFile(INDEX_QUEUE_WORK_PATH, "a:/1\na:/2\na:/3");
    status = json::parse(RunTool({"status", "--json"}).out);
    EXPECT_EQ(status["daemon"], json({{"running", true}, {"pid", daemon.pid}}));
    EXPECT_EQ(status["batch"], json({{"lines", 3}, {"line_min", nullptr}, {"line_max", nullptr}}));
}

TEST_F(StatusCommand, ABatchIsInProgressOrInterrupted)
{
    WriteFile(INDEX_QUEUE_WORK_PATH, "a:/1\na:/2\n");
    EXPECT_NE(RunTool({"status"})
                  .out.find("batch            interrupted, 2 lines; it starts over when the daemon does\n"),
              std::string::npos);

    SleepingProcess daemon("nuboindexd");  // it has not opened the file
    EXPECT_NE(RunTool({"status"}).out.find("batch            in progress, 2 lines\n"), std::string::npos);
}

TEST_F(StatusCommand, ABrokenDatabaseIsReportedAndTheRestIsShown)
{
    DbClose();  // the batch that filled it, which would wait for a server
    if (getenv("NUBO_TEST_POSTGRESQL"))
        PlatformSettingSet("database", "host=/nowhere");
    else
        WriteFile(Scratch("/state/media.db"), std::string(8192, 'x'));
    ToolResult result = RunTool({"status"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("daemon           not running\n"), std::string::npos);
    EXPECT_NE(result.out.find("  music          unknown\n"), std::string::npos);
    EXPECT_EQ(result.err, "nuboindex: a database cannot be read; the system log says why\n");
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"list", "music"}, {"show", "/x"}}) {
        result = RunTool(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "nuboindex: the media database cannot be read; the system log says why\n");
    }
}
