// Which requests a line can express.
#include "queue_line.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include "support/scratch.h"

// The reader's buffer: fgets keeps one byte for the NUL.
static constexpr size_t READER_BUFFER = 4112;

static std::string ReadOnce(const std::string &text)
{
    WriteFile(Scratch("/line"), text);
    FILE *file = fopen(Scratch("/line").c_str(), "r");
    char line[READER_BUFFER];
    std::string read = fgets(line, sizeof line, file) ? line : "";
    fclose(file);
    return read;
}

TEST(QueueLine, IsLetterColonArgumentLineFeed)
{
    std::string reason;
    EXPECT_EQ(QueueLine('a', "/volume1/music/a b:c.mp3", reason), "a:/volume1/music/a b:c.mp3\n");
    EXPECT_EQ(QueueLine('R', "", reason), "R:\n");
    EXPECT_EQ(QueueLine('A', "/\xff\x01", reason), "A:/\xff\x01\n");
}

TEST(QueueLine, LongestLineIsReadInOnePiece)
{
    std::string reason;
    std::string longest = "/" + std::string(4107, 'x');
    std::optional<std::string> line = QueueLine('a', longest, reason);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->size(), QUEUE_LINE_MAX);
    EXPECT_EQ(ReadOnce(*line), *line);
}

TEST(QueueLine, OneByteMoreIsRefusedBecauseTheReaderWouldSplitIt)
{
    std::string reason;
    std::string longer = "/" + std::string(4108, 'x');
    EXPECT_FALSE(QueueLine('a', longer, reason));
    EXPECT_NE(reason.find("4112 bytes"), std::string::npos) << reason;
    EXPECT_NE(reason.find("4111"), std::string::npos) << reason;

    std::string line = "a:" + longer + "\n";
    EXPECT_EQ(ReadOnce(line), line.substr(0, line.size() - 1));  // its line feed becomes a line of its own
}

TEST(QueueLine, RefusesWhatTheFormatCannotHold)
{
    const struct {
        char letter;
        std::string argument;
        const char *reason;
    } cases[] = {
        {'a', "", "empty"},
        {'T', "", "empty"},
        {'a', "/a\nb", "line feed"},
        {'A', "/a\n", "line feed"},
        {'d', std::string("/a\0b", 4), "NUL"},
    };
    for (const auto &c : cases) {
        std::string reason;
        EXPECT_FALSE(QueueLine(c.letter, c.argument, reason)) << c.argument;
        EXPECT_NE(reason.find(c.reason), std::string::npos) << reason;
    }
}

TEST(QueueRenameLine, NewPathComesFirst)
{
    std::string reason;
    EXPECT_EQ(QueueRenameLine("/new", "/old", reason), "N:/new:/old\n");
}

TEST(QueueRenameLine, RefusesColonsInEitherPathAndEmptyOnes)
{
    const struct {
        const char *new_path;
        const char *old_path;
        const char *reason;
    } cases[] = {
        {"/a:b", "/c", "colon"}, {"/c", "/a:b", "colon"},     {"/c:", "/d", "colon"},      {"", "/a", "empty"},
        {"/a", "", "empty"},     {"/a\n", "/b", "line feed"}, {"/a", "/b\n", "line feed"},
    };
    for (const auto &c : cases) {
        std::string reason;
        EXPECT_FALSE(QueueRenameLine(c.new_path, c.old_path, reason)) << c.new_path << " " << c.old_path;
        EXPECT_NE(reason.find(c.reason), std::string::npos) << reason;
    }
}

TEST(QueueRenameLine, BothPathsShareTheLongestLine)
{
    std::string reason;
    std::string new_path(2000, 'n');
    EXPECT_TRUE(QueueRenameLine(new_path, std::string(4111 - 2 - 2000 - 1 - 1, 'o'), reason));
    EXPECT_FALSE(QueueRenameLine(new_path, std::string(4111 - 2 - 2000 - 1, 'o'), reason));
}
