// Tables on a terminal and lines elsewhere.
#include "text_table.h"

#include <gtest/gtest.h>

#include <sstream>

static std::string Printed(int width, const std::vector<std::vector<std::string>> &rows)
{
    std::ostringstream out;
    Output output = {out, out, width};
    TextTable table(output, {{"TITLE", false}, {"TIME", true}, {"PATH", false}});
    for (const auto &row : rows)
        table.Add(row);
    table.Print();
    return out.str();
}

TEST(TextTable, ElsewhereRowsAreLinesWithTabsAndNothingIsShortened)
{
    std::string longest(5000, 'x');
    EXPECT_EQ(Printed(0, {{"a", "4:13", longest}, {"", "", ""}}), "a\t4:13\t" + longest + "\n\t\t\n");
}

TEST(TextTable, ElsewhereACellCannotBreakTheLine)
{
    EXPECT_EQ(Printed(0, {{"a\tb\nc", "", "\x1b[2J\xff"}}), "a\\x09b\\x0ac\t\t\\x1b[2J\\xff\n");
}

TEST(TextTable, ATerminalGetsHeadersAndAlignedColumns)
{
    EXPECT_EQ(Printed(80, {{"a", "4:13", "/x"}, {"longer", "1:04:13", "/y"}}), "TITLE     TIME PATH\n"
                                                                               "a         4:13 /x\n"
                                                                               "longer 1:04:13 /y\n");
}

TEST(TextTable, OnATerminalLongTextsAreShortenedAndNumbersAreNot)
{
    std::string longest(500, 'x');
    std::istringstream lines(Printed(60, {{longest, "11:04:13", longest}, {"b", "0:01", "/short"}}));
    int count = 0;
    for (std::string line; std::getline(lines, line); count++) {
        EXPECT_LE(line.size(), 60u) << line;
        bool has_time = line.find(" 11:04:13 ") != std::string::npos;
        EXPECT_EQ(has_time, count == 1) << line;
    }
    EXPECT_EQ(count, 3);
}

TEST(TextTable, OnATerminalWideCharactersAreMeasuredAndControlCharactersShown)
{
    EXPECT_EQ(Printed(80, {{"日本", "1", "/x"}, {"\x1b[2J", "2", "/y"}}), "TITLE   TIME PATH\n"
                                                                          "日本       1 /x\n"
                                                                          "\\x1b[2J    2 /y\n");
}

TEST(TextTable, NothingIsPrintedForNoRows)
{
    EXPECT_EQ(Printed(80, {}), "");
    EXPECT_EQ(Printed(0, {}), "");
}
