// Bounded copies and joined paths.
#include "common/text.h"

#include <gtest/gtest.h>

TEST(Text, CopyIsCutAtTheFieldAndAlwaysEnds)
{
    char field[4] = {'x', 'x', 'x', 'x'};
    TextSet(field, "abcdef");
    EXPECT_STREQ(field, "abc");
    TextSet(field, "");
    EXPECT_STREQ(field, "");
}

TEST(Text, JoinIsCutAtTheBuffer)
{
    static constexpr struct {
        size_t size;
        const char *joined;
    } cases[] = {
        {64, "/a/bc"}, {6, "/a/bc"}, {5, "/a/b"}, {3, "/a"}, {1, ""},
    };
    for (const auto &c : cases) {
        char out[64];
        PathJoin(out, c.size, "/a", "bc");
        EXPECT_STREQ(out, c.joined) << c.size;
    }
}

TEST(Text, AppendedNameIsCutAtTheBuffer)
{
    static constexpr struct {
        size_t size;
        const char *path;
    } cases[] = {
        {64, "/a/bc"}, {6, "/a/bc"}, {5, "/a/b"}, {4, "/a/"}, {3, "/a"},
    };
    for (const auto &c : cases) {
        char path[64] = "/a";
        PathAppend(path, c.size, "bc");
        EXPECT_STREQ(path, c.path) << c.size;
    }
}
