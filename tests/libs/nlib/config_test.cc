// The platform's own settings, and the appliance's settings files.
#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "nlib/config.h"
#include "platform/sdk.h"
#include "support/scratch.h"

static std::vector<std::string> reports;

// Stands in front of the C library's, for the library under test too.
extern "C" void syslog(int, const char *format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    reports.push_back(text);
}

// The same call as the C library's headers spell it in an optimised build.
extern "C" void __syslog_chk(int, int, const char *format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    reports.push_back(text);
}

static std::string Conf(const std::string &content)
{
    std::string path = Scratch("/etc/test.conf");
    WriteFile(path, content);
    reports.clear();
    return path;
}

TEST(PlatformSetting, EverySettingHasADefault)
{
    reports.clear();
    PlatformSettingsLoad(Scratch("/etc/none.conf").c_str());
    EXPECT_STREQ(PlatformSetting("state_dir"), "/var/lib/nubo");
    EXPECT_STREQ(PlatformSetting("database"), "sqlite");
    EXPECT_STREQ(PlatformSetting("text_fallback_charset"), "windows-1252");
    EXPECT_EQ(PlatformSetting("no_such_setting"), nullptr);
    EXPECT_EQ(PlatformSetting(nullptr), nullptr);
    EXPECT_TRUE(reports.empty());
}

TEST(PlatformSetting, ReadsTheFile)
{
    PlatformSettingsLoad(
        Conf("# comment = 1\n\n  state_dir=/srv/nubo\t\ndatabase = \"postgresql host=/run user=a\"\n"
             "text_fallback_charset = shift_jis")
            .c_str());
    EXPECT_STREQ(PlatformSetting("state_dir"), "/srv/nubo");
    EXPECT_STREQ(PlatformSetting("database"), "postgresql host=/run user=a");
    EXPECT_STREQ(PlatformSetting("text_fallback_charset"), "shift_jis");
    EXPECT_TRUE(reports.empty());
}

TEST(PlatformSetting, UnknownKeysAreReportedOnceWithTheirLine)
{
    std::string path = Conf("\nstate_dri = /srv\nDatabase = sqlite\n");
    PlatformSettingsLoad(path.c_str());
    (void)PlatformSetting("database");
    (void)PlatformSetting("database");
    std::vector<std::string> expected = {path + ":2: unknown setting \"state_dri\"",
                                         path + ":3: unknown setting \"Database\""};
    EXPECT_EQ(reports, expected);
}

TEST(PlatformSetting, ARelativeStateFolderIsReportedAndNotUsed)
{
    std::string path = Conf("state_dir = nubo\n");
    PlatformSettingsLoad(path.c_str());
    EXPECT_STREQ(PlatformSetting("state_dir"), "/var/lib/nubo");
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0], path + ":1: \"nubo\" is no absolute path, /var/lib/nubo is used");
}

TEST(PlatformSetting, TheEnvironmentNamesTheFile)
{
    setenv("NUBO_PLATFORM_CONF", Conf("state_dir = /from/environment\n").c_str(), 1);
    PlatformSettingsLoad(nullptr);
    unsetenv("NUBO_PLATFORM_CONF");
    EXPECT_STREQ(PlatformSetting("state_dir"), "/from/environment");
}

TEST(SettingsFile, FindsAValueInEveryTolerableForm)
{
    std::string path = Conf("#quoted=\"comment\"\n"
                            "quoted=\"two words\"  \n"
                            "  bare = word \n"
                            "empty=\n"
                            "empty_quoted=\"\"\n"
                            "equals=\"a=b\"\n"
                            "lone=\"half\n"
                            "hash=a#b\n"
                            "windows=yes\r\n"
                            "no_equals_sign\n"
                            "= no key\n"
                            "twice=first\n"
                            "twice=second\n"
                            "last=no line feed");
    static constexpr struct {
        const char *key;
        const char *value;  // null: not there
    } cases[] = {
        {"quoted", "two words"},
        {"bare", "word"},
        {"empty", ""},
        {"empty_quoted", ""},
        {"equals", "a=b"},
        {"lone", "\"half"},
        {"hash", "a#b"},  // a comment has a line of its own
        {"windows", "yes"},
        {"no_equals_sign", nullptr},
        {"", nullptr},
        {"twice", "first"},
        {"last", "no line feed"},
        {"#quoted", nullptr},
        {"BARE", nullptr},
        {"bar", nullptr},
    };
    for (const auto &c : cases) {
        char out[64] = "untouched";
        int length = NLIBFileGetKeyValue(path.c_str(), c.key, out, sizeof out, 0);
        if (c.value) {
            EXPECT_EQ(length, static_cast<int>(strlen(c.value))) << c.key;
            EXPECT_STREQ(out, c.value) << c.key;
            EXPECT_TRUE(BlNUBOFileCheckKeyValue(path.c_str(), c.key, c.value, 0)) << c.key;
        } else {
            EXPECT_LT(length, 0) << c.key;
            EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), c.key, "", 0)) << c.key;
        }
    }
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), "bare", "wor", 0));
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), "bare", "Word", 0));
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), "twice", "second", 0));
}

TEST(SettingsFile, ALongValueIsCutToTheBuffer)
{
    std::string path = Conf("key=\"abcdef\"\n");
    char out[4] = "xxx";
    EXPECT_EQ(NLIBFileGetKeyValue(path.c_str(), "key", out, sizeof out, 0), 3);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(NLIBFileGetKeyValue(path.c_str(), "key", out, 1, 0), 0);
    EXPECT_STREQ(out, "");
}

TEST(SettingsFile, MissingFilesFoldersAndNullArgumentsAreFailures)
{
    std::string path = Conf("key=value\n");
    std::string none = Scratch("/none");
    std::string folder = Scratch("/etc");
    char out[8];
    EXPECT_LT(NLIBFileGetKeyValue(none.c_str(), "key", out, sizeof out, 0), 0);
    EXPECT_LT(NLIBFileGetKeyValue(folder.c_str(), "key", out, sizeof out, 0), 0);
    EXPECT_LT(NLIBFileGetKeyValue(nullptr, "key", out, sizeof out, 0), 0);
    EXPECT_LT(NLIBFileGetKeyValue(path.c_str(), nullptr, out, sizeof out, 0), 0);
    EXPECT_LT(NLIBFileGetKeyValue(path.c_str(), "key", nullptr, 8, 0), 0);
    EXPECT_LT(NLIBFileGetKeyValue(path.c_str(), "key", out, 0, 0), 0);
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(none.c_str(), "key", "value", 0));
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(nullptr, "key", "value", 0));
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), nullptr, "value", 0));
    EXPECT_FALSE(BlNUBOFileCheckKeyValue(path.c_str(), "key", nullptr, 0));
}

TEST(SettingsFile, HugeLinesAndBinaryRubbishAreReadOver)
{
    std::string rubbish(100000, 'x');
    for (size_t i = 0; i < rubbish.size(); i += 7)
        rubbish[i] = static_cast<char>(i % 256);
    std::string path = Conf(rubbish + "\n" + "long=" + std::string(70000, 'y') + "\nkey=value\n");
    char out[16];
    EXPECT_EQ(NLIBFileGetKeyValue(path.c_str(), "key", out, sizeof out, 0), 5);
    EXPECT_STREQ(out, "value");
}
