// What statements become on PostgreSQL.
#include "nubodb/postgresql_text.h"

#include <gtest/gtest.h>

using Literals = std::vector<std::string>;

static void Expect(const char *composed, const char *sql, const Literals &literals)
{
    PostgresqlText text = PostgresqlTextOf(composed, true);
    EXPECT_EQ(text.sql, sql) << composed;
    EXPECT_EQ(text.literals, literals) << composed;
}

TEST(PostgresqlText, LiteralsTravelAsParameters)
{
    Expect("Update t set a = 'it''s', b = '' where c='\xE9\\'", "Update t set a = $1, b = $2 where c=$3",
           {"it's", "", "\xE9\\"});
    Expect("select 1 -- 'no literal'\n, /* 'nor' */ 'x' as \"a'b\"",
           "select 1 -- 'no literal'\n, /* 'nor' */ $1 as \"a'b\"", {"x"});
}

TEST(PostgresqlText, WhatIsNotUnderstoodIsLeftToTheServer)
{
    for (const char *sql : {"select 'open", "delete from t where a = 'x''", "select $1, 'x'", "", ";;", "'"}) {
        PostgresqlText text = PostgresqlTextOf(sql, true);
        EXPECT_EQ(text.sql, sql);
        EXPECT_TRUE(text.literals.empty());
    }
}

TEST(PostgresqlText, PathsAreFoundByTheirHeads)
{
    EXPECT_EQ(PostgresqlTextOf("delete from t where path = $1 or (path >= $2 and path < $3)", false).sql,
              "delete from t where (path = $1::bytea and path_head = substr($1::bytea, 1, 1000)) or "
              "((path >= $2::bytea and path_head >= substr($2::bytea, 1, 1000)) and "
              "(path < $3::bytea and path_head <= substr($3::bytea, 1, 1000)))");
    EXPECT_EQ(PostgresqlTextOf("update t set path = $1, name = $2 where path = $3 and path <> $1", false).sql,
              "update t set path = $1, name = $2 where (path = $3::bytea and path_head = "
              "substr($3::bytea, 1, 1000)) and path <> $1");
    Expect(
        "Update video_desc set path = 'n' where path = 'o'",
        "Update video_desc set path = $1 where (path = $2::bytea and path_head = substr($2::bytea, 1, 1000))",
        {"n", "o"});
    Expect("select path='a' from t where x.path = 'b' and mypath = 'c' and path = 'd' || 'e'",
           "select path=$1 from t where x.path = $2 and mypath = $3 and path = $4 || $5",
           {"a", "b", "c", "d", "e"});
    EXPECT_EQ(PostgresqlTextOf("insert into t (path) values ($1) ON CONFLICT (path) do nothing", false).sql,
              "insert into t (path) values ($1) ON conflict (path_head, path_tail) do nothing");
}

TEST(PostgresqlText, AlbumsAreFoundByTheHashOfTheirName)
{
    Expect("Update photo_share set sharename = 'n' where sharename='o'",
           "Update photo_share set sharename = $1 where (sharename = $2::bytea and sha256(sharename) = "
           "sha256($2::bytea))",
           {"n", "o"});
}

TEST(PostgresqlText, LikeOverPathsUsesTheHeads)
{
    Expect(
        "select path from photo where path like '/p/a\\\\b/%' and path not like '/p/a/%/%' order by path asc",
        "select path from photo where (path_head >= $1::bytea and path_head < $2::bytea and path like $3) and "
        "(path not like $4) order by path asc",
        {"/p/a\\b/", "/p/a\\b0", "/p/a\\\\b/%", "/p/a/%/%"});
    std::string folder(3000, 'x');
    PostgresqlText text = PostgresqlTextOf("select 1 from t where path like '" + folder + "/%'", true);
    ASSERT_EQ(text.literals.size(), 3u);
    EXPECT_EQ(text.literals[0], folder.substr(0, 1000));
    EXPECT_EQ(text.literals[1], folder.substr(0, 999) + "y");
}

TEST(PostgresqlText, LikeThatTheEngineReadsOtherwise)
{
    Expect("select 1 from t where a like 'x\\'", "select 1 from t where (a like $1)", {"x\\\\"});
    Expect("select 1 from t where a like 'x\\_'", "select 1 from t where (a like $1)", {"x\\_"});
    Expect("select 1 from t where a not like 'b_c'", "select 1 from t where (not like_characters(a, $1))",
           {"b_c"});
    Expect("select 1 from t where a like 'x!%' escape '!'", "select 1 from t where a like $1 escape $2",
           {"x!%", "!"});
}
