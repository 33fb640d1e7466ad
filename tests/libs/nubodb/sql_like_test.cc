// What `like` matches, and the ranges that are written out for the index.
#include "nubodb/sql_like.h"

#include <gtest/gtest.h>

#include <random>

TEST(Like, OneMeaning)
{
    static const struct {
        const char *pattern, *text;
        bool matches;
    } cases[] = {
        {"", "", true},
        {"", "a", false},
        {"a", "a", true},
        {"a", "A", false},  // case counts
        {"%", "", true},
        {"%", "anything\n", true},
        {"_", "", false},
        {"_", "\xC3\xA9", true},  // one character of two bytes
        {"__", "\xC3\xA9", false},
        {"%__", "\xE2\x82\xAC", false},
        {"_", "\xE9", true},  // no UTF-8: a byte is a character
        {"caf\xE9/%", "caf\xE9/a.jpg", true},
        {"caf\xE9/%", "caf\xE8/a.jpg", false},  // both broken as UTF-8, and not the same
        {"\xC2\x80", "\x80", false},
        {"/p/%", "/p/", true},
        {"/p/%", "/p", false},
        {"/p/%/%", "/p/a.jpg", false},
        {"/p/%/%", "/p/a/b.jpg", true},
        {"%.jpg", "a.jpg.jpg", true},
        {"%a%b%", "xxaxxbxx", true},
        {"%a%b%", "xxbxxaxx", false},
        {"100\\%", "100%", true},  // the backslash takes away the meaning
        {"100\\%", "100x", false},
        {"a\\_b", "a_b", true},
        {"a\\_b", "axb", false},
        {"a\\\\b", "a\\b", true},
        {"a\\b", "ab", true},
        {"a\\", "a\\", true},  // at the end it stands for itself
    };
    for (const auto &c : cases)
        EXPECT_EQ(LikeMatches(c.pattern, c.text, '\\'), c.matches) << c.pattern << " on " << c.text;
}

TEST(Like, OtherEscapeCharacter)
{
    EXPECT_TRUE(LikeMatches("a!%", "a%", '!'));
    EXPECT_FALSE(LikeMatches("a!%", "ab", '!'));
    EXPECT_TRUE(LikeMatches("a\\%", "a\\b", '\0'));
}

// The textbook definition, slow and obvious; ASCII only.
static bool Matches(std::string_view pattern, std::string_view text)
{
    if (pattern.empty())
        return text.empty();
    if (pattern[0] == '%')
        return Matches(pattern.substr(1), text) || (!text.empty() && Matches(pattern, text.substr(1)));
    size_t item = pattern[0] == '\\' && pattern.size() > 1 ? 2 : 1;
    if (text.empty() || !(pattern[0] == '_' || pattern[item - 1] == text[0]))
        return false;
    return Matches(pattern.substr(item), text.substr(1));
}

static std::string RandomText(std::mt19937 &random, const char *letters, size_t longest)
{
    std::string text;
    size_t count = strlen(letters);
    for (size_t length = random() % (longest + 1); length > 0; length--)
        text.push_back(letters[random() % count]);
    return text;
}

TEST(Like, AgreesWithTheDefinition)
{
    std::mt19937 random(7);
    int matched = 0;
    for (int i = 0; i < 50000; i++) {
        std::string pattern = RandomText(random, "ab%_\\/", 7);
        std::string text = RandomText(random, "ab/\\", 7);
        bool expected = Matches(pattern, text);
        matched += expected;
        ASSERT_EQ(LikeMatches(pattern, text, '\\'), expected) << pattern << " on " << text;
    }
    EXPECT_GT(matched, 1000);
}

TEST(Like, RangeHoldsEveryMatch)
{
    std::mt19937 random(11);
    int matched = 0;
    for (int i = 0; i < 50000; i++) {
        std::string pattern = RandomText(random, "a'\xFF%\\", 4) + "%";
        std::string text = RandomText(random, "ab'\xFE\xFF\\", 5);
        if (!LikeMatches(pattern, text, '\\'))
            continue;
        matched++;
        std::string first = LikePrefix(pattern);
        std::string end = PrefixEnd(first);
        EXPECT_GE(text, first) << pattern;
        if (!end.empty()) {
            EXPECT_LT(text, end) << pattern;
        }
    }
    EXPECT_GT(matched, 1000);
}

TEST(Like, EndOfAPrefix)
{
    EXPECT_EQ(PrefixEnd("/p/"), "/p0");
    EXPECT_EQ(PrefixEnd("a\xFF"), "b");
    EXPECT_EQ(PrefixEnd("\xFF\xFF"), "");
    EXPECT_EQ(PrefixEnd(""), "");
}

TEST(Like, RangesAreWrittenOut)
{
    static const struct {
        const char *sql, *expected;
    } cases[] = {
        {"select path from photo where path like '/p/%'",
         "select path from photo where (path >= '/p/' and path < '/p0' and path like '/p/%')"},
        {"where path LIKE '/p/%' and path not like '/p/%/%' order by path",
         "where (path >= '/p/' and path < '/p0' and path LIKE '/p/%') and path not like '/p/%/%' order by "
         "path"},
        {"delete from t where sharename = 'A' or sharename like 'A/%';",
         "delete from t where sharename = 'A' or (sharename >= 'A/' and sharename < 'A0' and sharename like "
         "'A/%');"},
        // quotes are doubled again, those that end the range too: the byte behind "&" is a quote
        {"where (path like 'it''s&%')",
         "where ((path >= 'it''s&' and path < 'it''s''' and path like 'it''s&%'))"},
        {"where path like 'a\\\\b\\%c%'",
         "where (path >= 'a\\b%c' and path < 'a\\b%d' and path like 'a\\\\b\\%c%')"},
        {"where \"path\" like 'x%'", "where (\"path\" >= 'x' and \"path\" < 'y' and \"path\" like 'x%')"},
        // nothing to gain, or not for sure the plain form: left alone
        {"where path like '%x'", "where path like '%x'"},
        {"where path not like 'x%'", "where path not like 'x%'"},
        {"where path like 'x' || '%'", "where path like 'x' || '%'"},
        {"where a || path like 'x%'", "where a || path like 'x%'"},
        {"where path like 'x!%%' escape '!'", "where path like 'x!%%' escape '!'"},
        {"where path like $1", "where path like $1"},
        {"where a between 1 and path like 'x%'", "where a between 1 and path like 'x%'"},
        {"where title = 'path like ''x%'''", "where title = 'path like ''x%'''"},
        {"where 1 -- and path like 'x%'", "where 1 -- and path like 'x%'"},
        {"where 1 /* and path like 'x%' */ and 2", "where 1 /* and path like 'x%' */ and 2"},
        {"where title = 'unfinished like", "where title = 'unfinished like"},
        {"like", "like"},
        {"", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(LikeRangesAdd(c.sql), c.expected);
}
