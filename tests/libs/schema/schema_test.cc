// Versions of the schema, on a schema of the tests' own: older ones are brought up to date, newer ones refused.
#include "nubodb/schema.h"

#include <sys/wait.h>
#include <unistd.h>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "nlib/config.h"

static constexpr char SONGS[] = "create table song (path text primary key)";
static constexpr char TITLES[] = "alter table song add column title text not null default '';"
                                 "create index song_title on song (title);";
static constexpr char UNTITLED[] = "update song set title = 'untitled' where title = '';";
static constexpr char BROKEN[] = "create table extra (number integer); insert into nowhere values (1);";

static std::vector<SchemaStep> steps;

std::span<const SchemaStep> SchemaSteps()
{
    return steps;
}

// What a program knows whose newest version has as many steps.
static void ProgramKnows(const std::vector<const char *> &sql)
{
    DbClose();
    steps.clear();
    for (const char *engine : {"sqlite", "postgresql"}) {
        for (size_t i = 0; i < sql.size(); i++)
            steps.push_back({engine, DB_MEDIA, static_cast<int>(i) + 1, sql[i]});
        steps.push_back({engine, DB_PHOTO, 1, "create table picture (path text primary key)"});
    }
}

static std::string SetUpReport(int expected = 0)
{
    std::string report;
    EXPECT_EQ(DbSetUp(DB_MEDIA, &report), expected) << report;
    return report;
}

static bool SongSave(const char *path)
{
    return DbRun(DbOpen(DB_MEDIA), "insert into song (path) values ($1)", {DbText(path)}) == 1;
}

static Texts Titles()
{
    return Query(DB_MEDIA, "select title from song order by path", "title");
}

class Schema : public DatabaseTest
{
};

TEST_F(Schema, NewDatabaseGetsEveryStep)
{
    ProgramKnows({SONGS, TITLES, UNTITLED});
    EXPECT_EQ(SetUpReport(), "made, schema version 3");
    EXPECT_TRUE(SongSave("/a"));
    EXPECT_EQ(Titles(), Texts{""});
}

TEST_F(Schema, OlderOneIsBroughtUpToDateWithItsRows)
{
    ProgramKnows({SONGS});
    EXPECT_EQ(SetUpReport(), "made, schema version 1");
    EXPECT_TRUE(SongSave("/a"));
    ProgramKnows({SONGS, TITLES, UNTITLED});
    EXPECT_EQ(SetUpReport(), "brought from schema version 1 to schema version 3");
    EXPECT_EQ(Titles(), Texts{"untitled"});
}

TEST_F(Schema, DaemonNeedsNoSetUpForThat)
{
    ProgramKnows({SONGS});
    EXPECT_TRUE(SongSave("/a"));
    ProgramKnows({SONGS, TITLES});
    EXPECT_EQ(Titles(), Texts{""});
    ProgramKnows({SONGS, TITLES, UNTITLED});
    EXPECT_EQ(Titles(), Texts{"untitled"});
    EXPECT_EQ(syslog_lines, Texts{});
}

TEST_F(Schema, EqualOneIsLeftAsItIs)
{
    ProgramKnows({SONGS, TITLES, UNTITLED});
    (void)SetUpReport();
    EXPECT_TRUE(SongSave("/a"));
    EXPECT_EQ(SetUpReport(), "is up to date, schema version 3");
    EXPECT_EQ(Titles(), Texts{""});
}

TEST_F(Schema, NewerOneIsRefusedAndNotTouched)
{
    ProgramKnows({SONGS, TITLES, UNTITLED});
    (void)SetUpReport();
    EXPECT_TRUE(SongSave("/a"));
    ProgramKnows({SONGS, TITLES});
    EXPECT_EQ(SetUpReport(-1), "its schema has version 3, newer than 2, which this program knows");
    for (int i = 0; i < 3; i++)
        EXPECT_FALSE(SongSave("/b"));
    EXPECT_EQ(syslog_lines,
              Texts{"nubodb: media database: cannot be opened: its schema has version 3, newer than 2, which "
                    "this program knows"});
    ProgramKnows({SONGS, TITLES, UNTITLED});
    EXPECT_EQ(Titles(), Texts{""});
}

TEST_F(Schema, StepThatFailsLeavesNothingOfItselfBehind)
{
    ProgramKnows({SONGS});
    EXPECT_TRUE(SongSave("/a"));
    ProgramKnows({SONGS, BROKEN});
    EXPECT_NE(SetUpReport(-1).find("nowhere"), std::string::npos);
    EXPECT_FALSE(SongSave("/b"));
    ProgramKnows({SONGS});
    EXPECT_EQ(Query(DB_MEDIA, "select path from song", "path"), Texts{"/a"});
    EXPECT_EQ(Query(DB_MEDIA, "select number from extra", "number"), Texts{"(failed)"});
    ProgramKnows({SONGS, TITLES});
    EXPECT_EQ(SetUpReport(), "brought from schema version 1 to schema version 2");
}

// The daemon and a tool of a new package, both just started.
TEST_F(Schema, IsBroughtUpToDateOnceWhenManyComeAtTheSameTime)
{
    ProgramKnows({SONGS});
    EXPECT_TRUE(SongSave("/a"));
    ProgramKnows({SONGS, TITLES, UNTITLED});
    std::vector<pid_t> children;
    for (int i = 0; i < 4; i++) {
        children.push_back(fork());
        if (children.back() == 0)
            _exit(SongSave(("/" + std::to_string(i)).c_str()) ? 0 : 1);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Titles().size(), 5u);
}

// --- boxes

static bool OnServer()
{
    return getenv("NUBO_TEST_POSTGRESQL") != nullptr;
}

TEST_F(Schema, BoxIsListedOnceItHasADatabase)
{
    ProgramKnows({SONGS});
    std::string box = PlatformSetting("box");
    std::vector<std::string> boxes;
    ASSERT_EQ(DbBoxes(&boxes), 0);
    EXPECT_EQ(std::count(boxes.begin(), boxes.end(), box), OnServer() ? 0 : 1);
    EXPECT_TRUE(SongSave("/a"));
    boxes.clear();
    ASSERT_EQ(DbBoxes(&boxes), 0);
    EXPECT_EQ(std::count(boxes.begin(), boxes.end(), box), 1);
    EXPECT_TRUE(std::is_sorted(boxes.begin(), boxes.end()));
}

TEST_F(Schema, DatabaseOfAnotherBoxIsReadAndNeverChanged)
{
    if (!OnServer())
        GTEST_SKIP() << "a file is this box's alone";
    ProgramKnows({SONGS});
    std::string ours = PlatformSetting("box"), other = ours + "x";
    EXPECT_TRUE(SongSave("/ours"));
    DbClose();
    PlatformSettingSet("box", other.c_str());
    EXPECT_TRUE(SongSave("/other's"));
    DbClose();
    PlatformSettingSet("box", ours.c_str());

    DbBoxSelect(other);
    EXPECT_EQ(Query(DB_MEDIA, "select path from song", "path"), Texts{"/other's"});
    EXPECT_FALSE(SongSave("/mistake"));
    EXPECT_FALSE(DbOpen(DB_PHOTO));  // there is none, and none is made
    ProgramKnows({SONGS, TITLES});
    EXPECT_FALSE(DbOpen(DB_MEDIA));
    EXPECT_EQ(syslog_lines.back(), "nubodb: media database: cannot be opened: its schema has version 1, older "
                                   "than 2, which this program knows");
    DbBoxSelect("");
    EXPECT_TRUE(SongSave("/ours too"));
    EXPECT_EQ(Titles().size(), 2u);
}
