// Whole lines, shell words as a real shell reads them, trimming, the banner.
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include "platform/sdk.h"
#include "support/scratch.h"

static std::string ShellOutput(const std::string &command)
{
    std::string output;
    FILE *pipe = popen(command.c_str(), "r");
    char block[4096];
    for (size_t length; (length = fread(block, 1, sizeof block, pipe)) > 0;)
        output.append(block, length);
    pclose(pipe);
    return output;
}

TEST(FileGetLine, FindsWholeLinesOnly)
{
    std::string path = Scratch("/queue");
    WriteFile(path, "/volume1/photo/a.jpg\n/volume1/photo\n\n  blanks \nlast without line feed");
    static constexpr struct {
        const char *wanted;
        int found;
    } cases[] = {
        {"/volume1/photo/a.jpg", 1},
        {"/volume1/photo", 1},
        {"/volume1", 0},
        {"/volume1/photo/a.jpg\n", 0},  // a line does not hold its line feed
        {"/VOLUME1/photo", 0},
        {"", 1},  // the empty third line
        {"  blanks ", 1},
        {"blanks", 0},
        {"last without line feed", 1},
    };
    for (const auto &c : cases) {
        char buf[4097] = {};
        EXPECT_EQ(NLIBFileGetLine(path.c_str(), c.wanted, buf, sizeof buf, 0x404), c.found) << c.wanted;
        EXPECT_STREQ(buf, c.found ? c.wanted : "");
    }
}

TEST(FileGetLine, AnEmptyFileHoldsNoLineAndAMissingOneFails)
{
    WriteFile(Scratch("/empty"), "");
    char buf[16];
    EXPECT_EQ(NLIBFileGetLine(Scratch("/empty").c_str(), "", buf, sizeof buf, 0x404), 0);
    EXPECT_EQ(NLIBFileGetLine(Scratch("/empty").c_str(), "a", buf, sizeof buf, 0x404), 0);
    EXPECT_LT(NLIBFileGetLine(Scratch("/none").c_str(), "a", buf, sizeof buf, 0x404), 0);
    EXPECT_LT(NLIBFileGetLine(Scratch("/etc").c_str(), "a", buf, sizeof buf, 0x404), 0);  // a folder
    EXPECT_LT(NLIBFileGetLine(nullptr, "a", buf, sizeof buf, 0x404), 0);
    EXPECT_LT(NLIBFileGetLine(Scratch("/empty").c_str(), nullptr, buf, sizeof buf, 0x404), 0);
    EXPECT_LT(NLIBFileGetLine(Scratch("/empty").c_str(), "a", nullptr, 16, 0x404), 0);
    EXPECT_LT(NLIBFileGetLine(Scratch("/empty").c_str(), "a", buf, 0, 0x404), 0);
}

TEST(FileGetLine, ComparesBytesAndCutsTheCopy)
{
    using namespace std::string_literals;
    std::string longest(4095, '\xe4');
    WriteFile(Scratch("/queue"), "a\0b\n"s + longest + "\n");
    char buf[4097];
    EXPECT_EQ(NLIBFileGetLine(Scratch("/queue").c_str(), "a", buf, sizeof buf, 0), 0);
    EXPECT_GT(NLIBFileGetLine(Scratch("/queue").c_str(), longest.c_str(), buf, sizeof buf, 0), 0);
    EXPECT_EQ(buf, longest);
    char small[4] = "xxx";
    EXPECT_GT(NLIBFileGetLine(Scratch("/queue").c_str(), longest.c_str(), small, sizeof small, 0), 0);
    EXPECT_STREQ(small, "\xe4\xe4\xe4");
}

TEST(EncShParam, EveryByteButNulAndLineFeedReachesAProgramAsItWas)
{
    std::string all;
    for (int byte = 1; byte < 256; byte++) {
        if (byte != '\n')
            all += static_cast<char>(byte);
    }
    std::string word(2 * all.size() + 1, '\0');
    ASSERT_EQ(NLIBEncShParam(all.c_str(), word.data(), static_cast<int>(word.size())), 0);
    EXPECT_EQ(ShellOutput("printf %s " + std::string(word.c_str())), all);
}

TEST(EncShParam, NothingIsExecuted)
{
    static constexpr const char *cases[] = {
        "$(touch pwned)",
        "`touch pwned`",
        "; touch pwned",
        "a b",
        "it's",
        "\"",
        "\\",
        "~",
        "~root",
        "*",
        "a=b",
        "#x",
        "!x",
        "&",
        "{a,b}",
        "-n",
        "\t",
    };
    for (const char *text : cases) {
        char word[64];
        ASSERT_EQ(NLIBEncShParam(text, word, static_cast<int>(2 * strlen(text) + 1)), 0) << text;
        EXPECT_EQ(ShellOutput("cd " + Scratch("/etc") + "; printf '<%s>' " + word),
                  "<" + std::string(text) + ">");
    }
    EXPECT_FALSE(BlNLIBFileExist(Scratch("/etc/pwned").c_str()));
}

TEST(EncShParam, ALineFeedCannotBeExpressed)
{
    for (const char *text : {"\n", "a\nb", "/volume1/music/a\ntouch pwned.aac", "a\n"}) {
        char word[128] = "untouched";
        EXPECT_LT(NLIBEncShParam(text, word, sizeof word), 0) << text;
        EXPECT_STREQ(word, "");  // nothing that could be run by mistake
    }
}

TEST(EncShParam, FitsExactlyOrFails)
{
    char word[8];
    EXPECT_EQ(NLIBEncShParam("a b", word, 5), 0);
    EXPECT_STREQ(word, "a\\ b");
    EXPECT_LT(NLIBEncShParam("a b", word, 4), 0);
    EXPECT_STREQ(word, "");
    EXPECT_EQ(NLIBEncShParam("   ", word, 7), 0);
    EXPECT_LT(NLIBEncShParam("   ", word, 6), 0);
    EXPECT_EQ(NLIBEncShParam("", word, 3), 0);
    EXPECT_STREQ(word, "''");
    EXPECT_LT(NLIBEncShParam("", word, 2), 0);
    EXPECT_LT(NLIBEncShParam(nullptr, word, 8), 0);
    EXPECT_LT(NLIBEncShParam("a", nullptr, 8), 0);
    EXPECT_LT(NLIBEncShParam("a", word, 0), 0);
    EXPECT_LT(NLIBEncShParam("a", word, -1), 0);
}

TEST(StringTrim, CutsBlanksTabsAndLineEnds)
{
    static constexpr struct {
        const char *text;
        const char *trimmed;
    } cases[] = {
        {"  a b\t", "a b"}, {"\r\n a\r\n", "a"}, {"a", "a"}, {"", ""}, {" \t\r\n", ""}, {"\v a \v", "\v a \v"},
    };
    for (const auto &c : cases) {
        char text[32];
        snprintf(text, sizeof text, "%s", c.text);
        StringTrim(text);
        EXPECT_STREQ(text, c.trimmed);
    }
    StringTrim(nullptr);
}

TEST(Copyright, NamesTheProgramItsVersionAndTheLicence)
{
    testing::internal::CaptureStdout();
    NLIBCopyright();
    std::string banner = testing::internal::GetCapturedStdout();
    EXPECT_NE(banner.find("nuboindexd " NUBO_VERSION), std::string::npos) << banner;
    EXPECT_NE(banner.find("MIT"), std::string::npos) << banner;
    EXPECT_EQ(banner.back(), '\n');
}
