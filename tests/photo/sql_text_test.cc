// Escaping and bounded formatting of SQL.
#include "photo/sql_text.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "photo/photo_test_support.h"

static constexpr char LOG_MODULE[] = "sql_text_test";

static std::string Taken(char *text)
{
    std::string copy = text ? text : "(null)";
    free(text);
    return copy;
}

TEST(SqlText, LiteralsAndPatternsOfOddNames)
{
    static const struct {
        std::string text;
        std::string literal;
        std::string pattern;
    } cases[] = {
        {"", "", ""},
        {"it's", "it''s", "it''s"},
        {"a\\b", "a\\b", "a\\\\b"},
        {"%_", "%_", "%_"},
        {"\xff:\n", "\xff:\n", "\xff:\n"},
        {std::string(4095, '\''), std::string(8190, '\''), std::string(8190, '\'')},
        {std::string(4095, '\\'), std::string(4095, '\\'), std::string(8190, '\\')},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Taken(SqlLiteral(LOG_HERE, c.text.c_str())), c.literal);
        EXPECT_EQ(Taken(SqlPattern(LOG_HERE, c.literal.c_str())), c.pattern);
    }
}

TEST(SqlText, FailedEscapesAreReported)
{
    platform.results["NUBODBEscapeString"] = -1;
    EXPECT_EQ(SqlLiteral(LOG_HERE, "a"), nullptr);
    platform.results["NUBODBEscapeBackslash"] = -1;
    EXPECT_EQ(SqlPattern(LOG_HERE, "a"), nullptr);
    EXPECT_EQ(log_lines, Lines(2, "sql_text_test (#) Failed to escape condition."));
}

TEST(SqlText, StatementThatFitsIsWhole)
{
    char out[32];
    SqlFormat(out, sizeof out, "set a = '%s' where b = '%s'", "1", "2345");
    EXPECT_STREQ(out, "set a = '1' where b = '2345'");
    EXPECT_EQ(Taken(SqlPrint(LOG_HERE, 100, "a = '%s'", "x")), "a = 'x'");
}

// A statement without its "where" would change every row; cut anywhere, this one keeps a literal open.
TEST(SqlText, CutStatementIsNeverACompleteOne)
{
    static const std::string whole = "set a = 'it''s ''''x' where b = 'y'''";
    for (size_t size = 1; size <= whole.size(); size++) {
        char out[64];
        memset(out, 'x', sizeof out);
        SqlFormat(out, size, "%s", whole.c_str());
        std::string cut = out;
        EXPECT_EQ(cut, whole.substr(0, cut.size()));
        EXPECT_LT(cut.size(), size);
        auto quotes = std::count(cut.begin(), cut.end(), '\'');
        EXPECT_TRUE(quotes % 2 == 1 || cut.size() <= 8) << cut;  // "set a = " is no statement either
    }
}

TEST(SqlText, PathConditionIsCutAtItsBuffer)
{
    char condition[4096];
    ASSERT_TRUE(SqlPathCondition(LOG_HERE, "/a'b", "/", condition));
    EXPECT_STREQ(condition, "path like '/a''b/%'");
    ASSERT_TRUE(SqlPathCondition(LOG_HERE, std::string(4095, '\'').c_str(), "", condition));
    EXPECT_EQ(std::string(condition).substr(0, 14), "path like ''''");
    EXPECT_LT(strlen(condition), sizeof condition);
    EXPECT_EQ((strlen(condition) - strlen("path like ")) % 2, 1u);  // the literal is open
}
