// Statements, rows and quoting: what holds on every engine.
#include "platform/db_access.h"

#include "libs/database_test.h"
#include "libs/syslog_capture.h"

class DbAccess : public DatabaseTest
{
};

static constexpr char INSERT_RIGHT[] = "insert into photo_access_right values (7, 1, 'now')";

TEST_F(DbAccess, RowsAreReadInOrderUntilThereIsNone)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_TRUE(photo);
    for (const char *values : {"(1, 5, 'a')", "(2, 5, '')"})
        ASSERT_EQ(NUBODBExecute(photo, (std::string("insert into photo_access_right values ") + values).c_str(),
                                nullptr),
                  0);
    NuboDbResult *result = nullptr;
    ASSERT_EQ(
        NUBODBExecute(photo,
                      "select userid, create_time, null as empty_field from photo_access_right order by userid",
                      &result),
        0);
    int row = 12345;  // whatever stands there
    ASSERT_EQ(NUBODBFetchRow(result, &row), 0);
    EXPECT_STREQ(NUBODBFetchField(result, row, "userid"), "1");
    EXPECT_STREQ(NUBODBFetchField(result, row, "CREATE_TIME"), "a");
    EXPECT_EQ(NUBODBFetchField(result, row, "empty_field"), nullptr);
    EXPECT_EQ(NUBODBFetchField(result, row, "no_such_column"), nullptr);
    int first = row;
    ASSERT_EQ(NUBODBFetchRow(result, &row), 0);
    EXPECT_STREQ(NUBODBFetchField(result, row, "userid"), "2");
    EXPECT_STREQ(NUBODBFetchField(result, row, "create_time"), "");  // empty is not null
    EXPECT_STREQ(NUBODBFetchField(result, first, "userid"), "1");    // texts stay until the result is freed
    EXPECT_NE(NUBODBFetchRow(result, &row), 0);
    EXPECT_NE(NUBODBFetchRow(result, &row), 0);
    EXPECT_EQ(NUBODBFetchField(result, 2, "userid"), nullptr);
    EXPECT_EQ(NUBODBFetchField(result, -1, "userid"), nullptr);
    NUBODBFreeResult(result);
}

TEST_F(DbAccess, NullsAreAllowedWhereTheContractSaysSo)
{
    NUBODBFreeResult(nullptr);
    EXPECT_STRNE(NUBODBErrorGet(nullptr), nullptr);
    EXPECT_NE(NUBODBErrorGet(DbOpen(DB_PHOTO)), nullptr);
    int row = 0;
    EXPECT_NE(NUBODBFetchRow(nullptr, &row), 0);
    EXPECT_EQ(NUBODBFetchField(nullptr, 0, "path"), nullptr);
    EXPECT_EQ(NUBODBExecute(nullptr, "select 1", nullptr), -1);
    EXPECT_EQ(NUBODBExecute(DbOpen(DB_PHOTO), nullptr, nullptr), -1);
}

TEST_F(DbAccess, FailedStatementLeavesItsReasonAndTheConnection)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    auto *result = reinterpret_cast<NuboDbResult *>(1);
    EXPECT_EQ(NUBODBExecute(photo, "select nothing from nowhere", &result), -1);
    EXPECT_EQ(result, nullptr);
    EXPECT_NE(std::string(NUBODBErrorGet(photo)).find("nowhere"), std::string::npos);
    ASSERT_EQ(syslog_lines.size(), 1u);
    EXPECT_NE(syslog_lines[0].find("nowhere"), std::string::npos);
    EXPECT_EQ(NUBODBExecute(photo, INSERT_RIGHT, nullptr), 0);
}

TEST_F(DbAccess, RepeatedFailureIsLoggedOnce)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    for (int i = 0; i < 1000; i++)
        EXPECT_EQ(NUBODBExecute(photo, "select nothing from nowhere", nullptr), -1);
    EXPECT_EQ(syslog_lines.size(), 1u);
    EXPECT_EQ(NUBODBExecute(photo, "select 1", nullptr), 0);
    EXPECT_EQ(NUBODBExecute(photo, "select nothing from nowhere", nullptr), -1);
    EXPECT_EQ(syslog_lines.size(), 2u);
}

TEST_F(DbAccess, OneStatementOnly)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_EQ(NUBODBExecute(photo, INSERT_RIGHT, nullptr), 0);
    EXPECT_EQ(NUBODBExecute(photo, "select 1; delete from photo_access_right", nullptr), -1);
    EXPECT_EQ(NUBODBExecute(photo, "insert into photo_access_right values (8, 1, ''); delete from photo_share",
                            nullptr),
              -1);
    EXPECT_EQ(Query(DB_PHOTO, "select userid from photo_access_right;\n ", "userid"), Texts{"7"});
    EXPECT_EQ(NUBODBExecute(photo, "", nullptr), -1);
}

TEST_F(DbAccess, ChangedRowsAreCounted)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    for (const char *user : {"1", "2", "3"})
        EXPECT_EQ(
            DbExecute(photo,
                      (std::string("insert into photo_access_right values (") + user + ", 9, '')").c_str(),
                      nullptr),
            1);
    EXPECT_EQ(DbExecute(photo, "update photo_access_right set create_time = 'x' where userid > 1", nullptr), 2);
    EXPECT_EQ(DbExecute(photo, "update photo_access_right set create_time = 'x' where userid > 1", nullptr), 2);
    EXPECT_EQ(DbExecute(photo, "select * from photo_access_right", nullptr), 0);
    EXPECT_EQ(DbExecute(photo, "delete from photo_access_right where userid = 77", nullptr), 0);
    EXPECT_EQ(DbExecute(photo, "delete from photo_access_right", nullptr), 3);
}

TEST_F(DbAccess, TransactionIsAllOrNothing)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_EQ(DbBegin(photo), 0);
    ASSERT_EQ(DbExecute(photo, INSERT_RIGHT, nullptr), 1);
    DbRollback(photo);
    EXPECT_EQ(Query(DB_PHOTO, "select userid from photo_access_right", "userid"), Texts{});
    ASSERT_EQ(DbBegin(photo), 0);
    ASSERT_EQ(DbExecute(photo, INSERT_RIGHT, nullptr), 1);
    ASSERT_EQ(DbCommit(photo), 0);
    EXPECT_EQ(Query(DB_PHOTO, "select userid from photo_access_right", "userid"), Texts{"7"});
}

// Names that have broken statements before, and every byte in one.
static Texts OddNames()
{
    return {"it's",
            "''",
            "'",
            "\\",
            "\\'",
            "a\\\\b",
            "100%",
            "under_score",
            "caf\xE9",
            "\xFF\xFE",
            "x'; drop table photo_share; --",
            "line\nfeed",
            "\xC3\xA9t\xC3\xA9",
            "--",
            "/* */",
            "$1",
            "?",
            OddPath("", 255)};
}

TEST_F(DbAccess, NoNameBreaksOutOfItsLiteral)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    for (const std::string &name : OddNames()) {
        EXPECT_EQ(DbExecute(photo, ("insert into video_desc (path) values ('" + Quoted(name) + "')").c_str(),
                            nullptr),
                  1);
        EXPECT_EQ(Query(DB_PHOTO, "select path from video_desc where path = '" + Quoted(name) + "'", "path"),
                  Texts{name});
    }
    EXPECT_EQ(Query(DB_PHOTO, "select count(*) as n from video_desc", "n"),
              Texts{std::to_string(OddNames().size())});
}

TEST_F(DbAccess, EveryNameIsLikeItself)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    for (const std::string &name : OddNames())
        ASSERT_EQ(DbExecute(photo, ("insert into video_desc (path) values ('" + Quoted(name) + "')").c_str(),
                            nullptr),
                  1);
    for (const std::string &name : OddNames()) {
        Texts found =
            Query(DB_PHOTO, "select path from video_desc where path like '" + LikeQuoted(name) + "'", "path");
        EXPECT_NE(std::find(found.begin(), found.end(), name), found.end()) << name;
        if (name.find('_') == name.npos && name.find('%') == name.npos) {
            EXPECT_EQ(found, Texts{name});
        }
    }
}

TEST_F(DbAccess, LikeCountsCaseAndTakesBackslashAsEscape)
{
    static const struct {
        const char *condition, *answer;
    } cases[] = {
        {"'Abc' like 'a%'", "0"},    {"'abc' like 'a%'", "1"},      {"'a%c' like 'a\\%c'", "1"},
        {"'abc' like 'a\\%c'", "0"}, {"'a\\c' like 'a\\\\c'", "1"}, {"'abc' not like '%b%'", "0"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Query(DB_PHOTO,
                        std::string("select case when ") + c.condition + " then 1 else 0 end as answer",
                        "answer"),
                  Texts{c.answer})
            << c.condition;
    EXPECT_EQ(Query(DB_PHOTO, "select (null like 'a') is null as a, ('a' like null) is null as b", "a").size(),
              1u);
}

TEST_F(DbAccess, TextsSortAsBytes)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    Texts sorted = {"/A",   "/A/b", "/A0", "/B",    "/Z",        "/_",   "/a",
                    "/a b", "/a/b", "/a0", "/\x80", "/\xC3\xA4", "/\xFF"};
    for (size_t i = 0; i < sorted.size(); i++) {
        const std::string &path = sorted[i * 5 % sorted.size()];
        ASSERT_EQ(DbExecute(photo, ("insert into video_desc (path) values ('" + path + "')").c_str(), nullptr),
                  1);
    }
    EXPECT_EQ(Query(DB_PHOTO, "select path from video_desc order by path asc", "path"), sorted);
}

// An album's cover follows its album: names that differ in one byte that is no UTF-8 are two names.
TEST_F(DbAccess, ReplaceWorksOnBytes)
{
    NuboDbConnection *photo = DbOpen(DB_PHOTO);
    ASSERT_EQ(DbExecute(photo,
                        "insert into photo_share values(1, 'a', '', '', 'true', 0, '/photo/caf\xE9/x', 'true', "
                        "'true', '1')",
                        nullptr),
              1);
    ASSERT_EQ(DbExecute(photo, "update photo_share set cover = replace(cover, '/photo/caf\xE8/', '/photo/b/')",
                        nullptr),
              1);
    EXPECT_EQ(Query(DB_PHOTO, "select cover from photo_share", "cover"), Texts{"/photo/caf\xE9/x"});
    ASSERT_EQ(DbExecute(photo, "update photo_share set cover = replace(cover, '/photo/caf\xE9/', '/photo/b/')",
                        nullptr),
              1);
    EXPECT_EQ(Query(DB_PHOTO, "select cover from photo_share", "cover"), Texts{"/photo/b/x"});
}

TEST(DbEscape, StringEndsWhereTheLengthOrTheTextEnds)
{
    char out[64];
    EXPECT_EQ(NUBODBEscapeString(out, "a'b'c", 3), 0);
    EXPECT_STREQ(out, "a''b");
    EXPECT_EQ(NUBODBEscapeString(out, "ab", 20), 0);
    EXPECT_STREQ(out, "ab");
    EXPECT_EQ(NUBODBEscapeString(out, "ab", 0), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(NUBODBEscapeString(out, "a", -1), -1);
    EXPECT_EQ(NUBODBEscapeString(nullptr, "a", 1), -1);
    EXPECT_EQ(NUBODBEscapeString(out, nullptr, 1), -1);
}

TEST(DbEscape, LongestOutputFits)
{
    std::string quotes(4095, '\'');
    std::string out(2 * quotes.size() + 1, 'x');
    ASSERT_EQ(NUBODBEscapeString(out.data(), quotes.c_str(), 4095), 0);
    EXPECT_EQ(strlen(out.c_str()), 2 * quotes.size());

    std::string slashes(4095, '\\');
    std::string like(3 * slashes.size() + 1, 'x');
    ASSERT_EQ(NUBODBEscapeBackslash(like.data(), static_cast<int>(like.size()), slashes.c_str()), 0);
    EXPECT_EQ(strlen(like.c_str()), 2 * slashes.size());
}

TEST(DbEscape, BackslashTellsWhenTheRoomIsTooSmall)
{
    char out[4];
    EXPECT_EQ(NUBODBEscapeBackslash(out, 4, "a\\"), 0);
    EXPECT_STREQ(out, "a\\\\");
    EXPECT_EQ(NUBODBEscapeBackslash(out, 4, "ab\\"), -1);
    EXPECT_EQ(NUBODBEscapeBackslash(out, 1, ""), 0);
    EXPECT_EQ(NUBODBEscapeBackslash(out, 0, ""), -1);
    EXPECT_EQ(NUBODBEscapeBackslash(nullptr, 4, "a"), -1);
    EXPECT_EQ(NUBODBEscapeBackslash(out, 4, nullptr), -1);
}
