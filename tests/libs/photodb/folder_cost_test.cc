// What the resynchronisation's query for one folder costs: the same in a small and in a large library. Counted in the
// engine's steps, not in time.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "libs/database_test.h"
#include "nubodb/sql_like.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

class SqliteFolderCost : public DatabaseTest
{
};

static constexpr int PHOTOS_PER_FOLDER = 50;
static constexpr char CONDITION[] = "path like '/volume1/photo/Album 0007/%' and "
                                    "path not like '/volume1/photo/Album 0007/%/%'";

static void LibraryMake(int photos)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_TRUE(photo);
    char sql[1024];
    snprintf(sql, sizeof sql,
             "with recursive n(i) as (select 0 union all select i + 1 from n where i + 1 < %d) "
             "insert into photo select printf('/volume1/photo/Album %%04d/Picture %%06d.jpg', i / %d, i), 'n', "
             "'t', '',"
             " 'a', '', '', '', '', '', '', 1, 1, 1, 1, 1 from n",
             photos, PHOTOS_PER_FOLDER);
    ASSERT_EQ(DbExecute(photo, sql, nullptr), photos);
}

// The engine's steps for a query as the library sends it.
static int StepsOf(const std::string &sql)
{
    sqlite3 *db = nullptr;
    EXPECT_EQ(sqlite3_open_v2(Scratch("/state/photo.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "pragma case_sensitive_like = on", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_stmt *query = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, LikeRangesAdd(sql.c_str()).c_str(), -1, &query, nullptr), SQLITE_OK);
    int rows = 0;
    while (sqlite3_step(query) == SQLITE_ROW)
        rows++;
    EXPECT_EQ(rows, PHOTOS_PER_FOLDER);
    EXPECT_EQ(sqlite3_stmt_status(query, SQLITE_STMTSTATUS_FULLSCAN_STEP, 0), 0);
    EXPECT_EQ(sqlite3_stmt_status(query, SQLITE_STMTSTATUS_SORT, 0), 0);
    int steps = sqlite3_stmt_status(query, SQLITE_STMTSTATUS_VM_STEP, 0);
    sqlite3_finalize(query);
    sqlite3_close(db);
    return steps;
}

TEST_F(SqliteFolderCost, DoesNotGrowWithTheLibrary)
{
    std::string sql = std::string("select path from photo where ") + CONDITION + " order by path asc";
    LibraryMake(2000);
    int small = StepsOf(sql);
    ASSERT_EQ(PhotoDBExec("delete from photo"), 2000);
    LibraryMake(200000);
    EXPECT_EQ(StepsOf(sql), small);
    EXPECT_LT(small, 40 * PHOTOS_PER_FOLDER);
}

// The plan of what the library itself sends, rows in order without sorting.
TEST_F(SqliteFolderCost, PlanIsOneRangeOfPaths)
{
    Texts plan = Query(DB_PHOTO,
                       std::string("explain query plan select path from photo where ") + CONDITION +
                           " order by path asc",
                       "detail");
    EXPECT_EQ(plan, Texts{"SEARCH photo USING PRIMARY KEY (path>? AND path<?)"});
    Texts video = Query(DB_MEDIA,
                        std::string("explain query plan select path from video where ") + CONDITION +
                            " order by path asc",
                        "detail");
    EXPECT_EQ(video, Texts{"SEARCH video USING PRIMARY KEY (path>? AND path<?)"});
    for (const char *table : {"video_desc", "video_comment"}) {
        std::string notes = Query(DB_PHOTO,
                                  std::string("explain query plan select path from ") + table +
                                      " where path like '/v/it''s\\\\%'",
                                  "detail")
                                .at(0);
        EXPECT_NE(notes.find("SEARCH"), notes.npos) << notes;
        EXPECT_NE(notes.find("path>? AND path<?"), notes.npos) << notes;
    }
}
