// How PostgreSQL goes about the statements of the libraries in tables of some size: by an index, whatever it knows of
// the rows. The statements are those that the calls themselves left prepared, planned without their parameters.
#include <stdlib.h>
#include <string.h>

#include <deque>

#include "libs/database_test.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"

static constexpr char ROWS[] = " from generate_series(1, 10000) as n(i)";
static constexpr char PATH[] = "convert_to(format('/volume1/share/Folder %s/File %s', i / 20, i), 'UTF8')";

static constexpr int PHOTO_TABLE = 0;
static constexpr int NOTE_TABLES[] = {1, 2};

class PostgresqlPlans : public DatabaseTest
{
  protected:
    void SetUp() override
    {
        if (!getenv("NUBO_TEST_POSTGRESQL"))
            GTEST_SKIP() << "another engine";
        DatabaseTest::SetUp();
    }
};

// A text for the calls that want it to stay where it is.
static const char *Kept(const std::string &text)
{
    static std::deque<std::string> texts;
    texts.push_back(text);
    return texts.back().c_str();
}

static void RowsMake(DbName database, const std::string &insert)
{
    ASSERT_EQ(DbRun(DbOpen(database), Kept(insert + ROWS)), 10000);
}

static void PhotosMake()
{
    RowsMake(DB_PHOTO, std::string("insert into photo select ") + PATH +
                           ", 'Picture.jpg', 'Picture', '', 'Album', 'Maker', 'Camera', '1/60', '2.8',"
                           " '2026:03:01 12:00:00', 'Sun Mar  1 12:00:00 2026', 4000, 3000, 100, 3123456, 1");
}

static void LibraryMake()
{
    for (const char *table : {"music", "video", "photo", "playlist"})
        RowsMake(DB_MEDIA, std::string("insert into ") + table + " select " + PATH +
                               ", 1, 1, 1999, 'Title', 'Album', 'Artist', 'Rock', '', '', '', '', '', '', '',"
                               " '2026-03-01 12:00:00', '2026-03-01 12:00:00', 245.5, 192000, 192000, 44100,"
                               " 2, 0, 0, 5892311, 0, 0");
    RowsMake(DB_MEDIA, std::string("insert into directory select ") + PATH);
    PhotosMake();
    RowsMake(DB_PHOTO, std::string("insert into video_desc (path) select ") + PATH);
    RowsMake(DB_PHOTO, std::string("insert into video_comment (path) select ") + PATH);
}

static const char *const CONDITIONS[] = {
    "path = '/v/a'",
    "path like '/v/a/%'",
    "path like '/v/a_b/%'",
    "path = '/v/a' or path like '/v/a/%'",
    "path like '/v/a/%' and path not like '/v/a/%/%'",
    "path like '/v/a_b/%' and path not like '/v/a_b/%/%'",
};

// Those of one table that are about a file or a folder.
static void MediaCalls(int kind)
{
    MediaInfoRecord record = {};
    strcpy(record.path, "/v/a");
    ASSERT_EQ(MediaInfoDBSave(kind, &record), 0);
    for (const char *condition : CONDITIONS)
        PhotoInfoDBClose(MediaInfoDBOpen(kind, "path", condition, 0, "path asc", 0, 0, 0));
    ASSERT_EQ(MediaInfoDBDelete(kind, "/v/a"), 0);
}

static void PhotoCalls()
{
    PhotoInfoRecord record = {};
    strcpy(record.path, "/v/a");
    ASSERT_EQ(PhotoInfoDBSave(&record, 1), 0);
    char path[] = "/v/a";
    PhotoPathList list = {path, nullptr};
    ASSERT_EQ(NUBOUpdatePhotoPath(&list, "/v/b", "/v/a"), 0);
    for (const char *condition : CONDITIONS)
        PhotoInfoDBClose(PhotoInfoDBOpen(PHOTO_TABLE, "*", condition, 0, "path asc", 0, 0));
    for (int table : NOTE_TABLES)
        for (const char *condition : CONDITIONS)
            PhotoInfoDBClose(PhotoInfoDBOpen(table, "path", condition, 0, nullptr, 0, 0));
    ASSERT_EQ(PhotoDBExec("Update video_desc set path = '/v/b' where path = '/v/a'"), 0);
    ASSERT_EQ(PhotoDBExec("Update video_comment set path = '/v/b' where path = '/v/a'"), 0);
    ASSERT_EQ(PhotoInfoDBDelete("/v/b"), 0);
    ASSERT_EQ(PhotoInfoDBDirDelete("/v"), 0);
    ASSERT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
}

static void EveryCall()
{
    for (int kind : {MEDIA_KIND_MUSIC, MEDIA_KIND_VIDEO, MEDIA_KIND_PHOTO, MEDIA_KIND_PLAYLIST})
        MediaCalls(kind);
    ASSERT_EQ(MediaInfoDBDirSave("/v"), 0);
    ASSERT_EQ(NUBOIndexPhotoUpdateVideoStatus("/v/a"), 0);
    ASSERT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/v"), 0);
    PhotoCalls();
}

// A column of a query that leaves the composed statements alone.
static Texts KeptQuery(DbName database, const std::string &sql, const char *column)
{
    NuboDbResult *result = nullptr;
    if (DbSelect(DbOpen(database), Kept(sql), {}, &result) < 0)
        return {"(failed)"};
    return ColumnOf(new NuboDbHandle{DbOpen(database), result, -1, DbRowCount(result)}, column);
}

static std::string PlanOf(DbName database, const std::string &name, int parameters)
{
    std::string nulls;
    for (int i = 0; i < parameters; i++)
        nulls += i ? ", null" : "(null";
    std::string plan;
    for (const std::string &line :
         KeptQuery(database, "explain execute " + name + nulls + (parameters ? ")" : ""), "QUERY PLAN"))
        plan += line + "\n";
    return plan;
}

// The plans of what a connection has prepared.
static void ExpectIndexes(DbName database, size_t statements)
{
    static constexpr char PREPARED[] =
        "select name, statement, cardinality(parameter_types) as parameters from "
        "pg_prepared_statements where statement ~ '(where|values)' and "
        "statement !~ '(pg_prepared|generate_series)'";
    ASSERT_NE(Query(database, "set plan_cache_mode = force_generic_plan", "x"), Texts{"(failed)"});
    Texts names = Query(database, PREPARED, "name");
    Texts texts = Query(database, PREPARED, "statement");
    Texts parameters = Query(database, PREPARED, "parameters");
    EXPECT_EQ(names.size(), statements);
    for (size_t i = 0; i < names.size(); i++) {
        std::string plan = PlanOf(database, names[i], atoi(parameters[i].c_str()));
        EXPECT_EQ(plan.find("(failed)"), plan.npos) << texts[i];
        EXPECT_EQ(plan.find("Seq Scan"), plan.npos) << texts[i] << "\n" << plan;
    }
}

static constexpr size_t MEDIA_STATEMENTS = 4 * (2 + std::size(CONDITIONS) + 1) + 1 + 1 + 1 + 1;
static constexpr size_t PHOTO_STATEMENTS = 1 + 2 + 3 * std::size(CONDITIONS) + 2 + 2 + 1;

TEST_F(PostgresqlPlans, NothingWalksATableThatWasNeverLookedAt)
{
    LibraryMake();
    EveryCall();
    ExpectIndexes(DB_MEDIA, MEDIA_STATEMENTS);
    ExpectIndexes(DB_PHOTO, PHOTO_STATEMENTS);
}

TEST_F(PostgresqlPlans, NothingWalksAnAnalysedTable)
{
    LibraryMake();
    EveryCall();
    ASSERT_GE(DbRun(DbOpen(DB_MEDIA), "analyze music, video, photo, playlist, directory"), 0);
    ASSERT_GE(DbRun(DbOpen(DB_PHOTO), "analyze photo, video_desc, video_comment"), 0);
    ExpectIndexes(DB_MEDIA, MEDIA_STATEMENTS);
    ExpectIndexes(DB_PHOTO, PHOTO_STATEMENTS);
}

// Looked at when a pass had just begun and no photo was seen.
TEST_F(PostgresqlPlans, SweepFindsTheUnseenWhereAllWereUnseenBefore)
{
    PhotosMake();
    ASSERT_EQ(NUBOPhotoInitAllRows(), 0);
    ASSERT_GE(DbRun(DbOpen(DB_PHOTO), "analyze photo, video_desc, video_comment"), 0);
    ASSERT_EQ(PhotoDBExec("update photo set updated = 1 where updated < 1"), 10000);
    ASSERT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
    Texts names = KeptQuery(
        DB_PHOTO, "select name from pg_prepared_statements where statement ~ '^delete from photo'", "name");
    ASSERT_EQ(names.size(), 1u);
    std::string plan = PlanOf(DB_PHOTO, names[0], 0);
    EXPECT_NE(plan.find("photo_not_updated"), plan.npos) << plan;
}
