// setup, retry and what status and list say of several boxes and of missed changes.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <random>

#include "common/paths.h"
#include "nlib/config.h"
#include "nubodb/database.h"
#include "nubodb/missed.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"
#include "tool_run.h"

using json = nlohmann::json;

static bool OnServer()
{
    return getenv("NUBO_TEST_POSTGRESQL") != nullptr;
}

// A database of the test's own, which is not there yet.
class DatabaseCommands : public testing::Test
{
  protected:
    void SetUp() override
    {
        DbClose();
        MissedBatchBegin();
        if (!OnServer())
            return;
        std::random_device random;
        std::string database = std::string("host=") + getenv("NUBO_TEST_POSTGRESQL") +
                               " user=postgres dbname=t" + std::to_string(random()) + std::to_string(random());
        PlatformSettingSet("database", database.c_str());
        PlatformSettingSet("box", "attic");
    }

    void TearDown() override
    {
        DbClose();
    }
};

static void SongSave(const char *path)
{
    MediaInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
}

static void BoxBecome(const char *box)
{
    DbClose();
    PlatformSettingSet("box", box);
}

TEST_F(DatabaseCommands, SetupMakesTheDatabasesAndFindsThemUpToDateThen)
{
    ToolResult result = RunTool({"setup"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "media database made, schema version 1\nphoto database made, schema version 1\n");
    DbClose();
    result = RunTool({"setup"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(
        result.out,
        "media database is up to date, schema version 1\nphoto database is up to date, schema version 1\n");
    SongSave("/volume1/music/a.mp3");
    EXPECT_EQ(RunTool({"list", "music"}).status, 0);
}

TEST_F(DatabaseCommands, SetupSaysWhyItCannotBeDone)
{
    PlatformSettingSet("database", OnServer() ? "host=/nowhere" : "abacus");
    ToolResult result = RunTool({"setup"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("nuboindex: the media database cannot be set up: "), 0u) << result.err;
    EXPECT_NE(result.err.find(OnServer() ? "/nowhere" : "no such engine: abacus"), std::string::npos);
    EXPECT_NE(result.err.find("nuboindex: the photo database cannot be set up: "), std::string::npos);
}

// An administrator reads the message, not the program.
TEST_F(DatabaseCommands, SetupRefusesAPasswordThatEverybodyCanRead)
{
    PlatformSettingSet("database", "host=/nowhere password=secret");
    ToolResult result = RunTool({"setup"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("everybody can read the password in"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("secret"), std::string::npos);
}

TEST_F(DatabaseCommands, MissedChangesAreInTheStatusAndRetryQueuesThem)
{
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    EXPECT_EQ(RunTool({"retry"}).out, "nothing was missed\n");
    EXPECT_EQ(RunTool({"status"}).out.find("missed"), std::string::npos);
    MissedNote("f/gone.mp3");
    MissedNote("R:photo");
    EXPECT_NE(RunTool({"status"}).out.find("missed           2 changes, made again by the next batch\n"),
              std::string::npos);
    EXPECT_EQ(json::parse(RunTool({"status", "--json"}).out)["missed"], json({{"changes", 2}}));

    ToolResult result = RunTool({"retry"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "queued 2 requests; the daemon is not running\n");
    EXPECT_EQ(ReadFile(INDEX_QUEUE_PATH), "D:/gone.mp3\nR:photo\n");
    EXPECT_EQ(json::parse(RunTool({"status", "--json"}).out)["missed"], json({{"changes", 0}}));
}

TEST_F(DatabaseCommands, RetryWakesTheDaemon)
{
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    MissedNote("f/gone.mp3");
    SleepingProcess daemon("nuboindexd");
    EXPECT_EQ(RunTool({"retry"}).out, "queued 1 request\n");
    EXPECT_EQ(daemon.EndSignal(), SIGUSR1);
}

// A queue that nobody empties is waited for only as long as there is somebody to do it.
TEST_F(DatabaseCommands, RetryThatWaitsEndsWhenTheDaemonIsGone)
{
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    EXPECT_EQ(RunTool({"retry", "--wait"}).out, "nothing was missed\ndone\n");
    MissedNote("f/gone.mp3");
    ToolResult result = RunTool({"retry", "--wait"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "nuboindex: the daemon is not running\n");
}

TEST_F(DatabaseCommands, RetryKeepsTheChangesAsLongAsThereIsNoDatabase)
{
    PlatformSettingSet("database", "abacus");
    MissedNote("f/gone.mp3");
    ToolResult result = RunTool({"retry"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "nuboindex: a database cannot be opened; the system log says why\n");
    EXPECT_EQ(MissedCount(), 1u);
}

// --- all boxes

TEST_F(DatabaseCommands, RowsOfAllBoxesAreListedWithTheirBoxes)
{
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    SongSave("/volume1/music/b.mp3");
    std::string box = PlatformSetting("box");
    std::string expected = box + ",,,,,,/volume1/music/b.mp3\n";
    if (OnServer()) {
        for (const char *other : {"cellar", "annex"}) {
            BoxBecome(other);
            ASSERT_EQ(RunTool({"setup"}).status, 0);
            SongSave("/volume1/music/a.mp3");
        }
        BoxBecome("attic");
        expected = "annex,,,,,,/volume1/music/a.mp3\n" + expected + "cellar,,,,,,/volume1/music/a.mp3\n";
    }
    ToolResult result = RunTool({"list", "music", "--all-boxes"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "box,title,artist,album,time,kbit/s,path\n" + expected);
    json rows = json::parse(RunTool({"list", "music", "--all-boxes", "--json"}).out);
    ASSERT_EQ(rows.size(), OnServer() ? 3u : 1u);
    EXPECT_EQ(rows[0]["box"], OnServer() ? "annex" : box);
    EXPECT_EQ(rows.back()["box"], OnServer() ? "cellar" : box);
    EXPECT_EQ(RunTool({"list", "music"}).out,
              "title,artist,album,time,kbit/s,path\n,,,,,/volume1/music/b.mp3\n");
    EXPECT_EQ(RunTool({"list", "video", "--all-boxes", "--json"}).out, "[]\n");
}

TEST_F(DatabaseCommands, AlbumsOfAllBoxesAreListedWithTheirBoxes)
{
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    ASSERT_EQ(
        PhotoDBExec("insert into photo_share values(1, 'Sea', '', '', 'true', 0, '', 'true', 'true', '1')"), 1);
    std::string box = PlatformSetting("box");
    EXPECT_EQ(RunTool({"list", "albums", "--all-boxes"}).out,
              "box,album,public,users,id\n" + box + ",Sea,yes,,1\n");
    EXPECT_EQ(json::parse(RunTool({"list", "albums", "--all-boxes", "--json"}).out)[0]["box"], box);
    EXPECT_EQ(RunTool({"list", "albums"}).out, "album,public,users,id\nSea,yes,,1\n");
    EXPECT_FALSE(json::parse(RunTool({"list", "albums", "--json"}).out)[0].contains("box"));
}

TEST_F(DatabaseCommands, BoxThatCannotBeReadDoesNotHideTheOthers)
{
    if (!OnServer())
        GTEST_SKIP() << "a file is this box's alone";
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    SongSave("/volume1/music/b.mp3");
    BoxBecome("barn");
    ASSERT_EQ(RunTool({"setup"}).status, 0);
    ASSERT_EQ(DbExecute(DbOpen(DB_MEDIA), "update schema_version set version = 99", nullptr), 1);
    BoxBecome("attic");
    for (const char *option : {"--all-boxes", "--json"}) {
        ToolResult result = RunTool({"list", "music", "--all-boxes", option});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err.find("nuboindex: box barn cannot be read\n"), 0u) << result.err;
        EXPECT_NE(result.out.find("/volume1/music/b.mp3"), std::string::npos);
        EXPECT_EQ(result.out.find("barn"), std::string::npos);
    }
}
