// Album rows: depth, public default, inherited rights.
#include "photo/album.h"

#include <string.h>

#include "photo/album_access.h"
#include "photo/photo_share.h"

class Album : public PhotoShare
{
  protected:
    static std::string Insert(int id, const std::string &name, bool is_public, bool is_sub)
    {
        return "PhotoDBExec Insert into photo_share values(" + std::to_string(id) + ", '" + name +
               "', '', '', '" + (is_public ? "true" : "false") + "', 0, '', 'true', '" +
               (is_sub ? "true" : "false") + "', '1');";
    }
};

TEST_F(Album, DepthCountsTheSlashesBehindTheShare)
{
    static constexpr struct {
        const char *path;
        int depth;
    } cases[] = {
        {"/volume1/photo/A", 0},
        {"/volume1/photo/A/x", 1},
        {"/volume1/photo/A/x/y", 2},
        {"/volume1/photo/A/x/y/z", 2},
        {"/volume1/photo", 0},
        {"/volume1/photo/A/", 1},  // a trailing slash is part of the name
        {"/x", 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(AlbumDepth(c.path), c.depth) << c.path;
    EXPECT_STREQ(AlbumNameOf("/volume1/photo/A/"), "A/");
    EXPECT_STREQ(AlbumNameOf("/volume1/photo"), "");
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(AlbumDepth(nullptr), 2);
    EXPECT_EQ(AlbumDepth(""), 2);
    EXPECT_EQ(log_lines, Lines(2, "album (#) Bad parameter."));
}

TEST_F(Album, BadArgumentsAreReported)
{
    EXPECT_EQ(PhotoShareUpdate(nullptr, 1), -1);
    EXPECT_EQ(PhotoShareUpdate("", 1), -1);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 5), -1);
    EXPECT_EQ(log_lines, Lines(3, "album (#) Bad parameter."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(Album, FolderBelowTheSecondLevelChangesNothing)
{
    for (int mode : {1, 2})
        EXPECT_EQ(PhotoShareUpdate("/volume1/photo/X/Y/Z", mode), 0);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(Album, FirstAlbumOfAnEmptyTableGetsIdOne)
{
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 1), 0);
    EXPECT_EQ(platform.calls, (Lines{"PhotoInfoDBOpen 3 * [shareid > 0] shareid desc 1", "PhotoInfoDBClose",
                                     Insert(1, "A", false, false)}));
}

TEST_F(Album, LaterAlbumsGetTheLargestIdAndOne)
{
    platform.queries = {{{{"shareid", "41"}}}};
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 1), 0);
    EXPECT_EQ(platform.calls.back(), Insert(42, "A", false, false));
}

TEST_F(Album, FailedQueryForTheIdIsReportedAndGivesOne)
{
    platform.results["PhotoInfoDBOpen"] = -1;
    EXPECT_EQ(PhotoShareNextId(), 1);
    EXPECT_EQ(log_lines, Lines{"album (#) Error occurred, failed to get records."});
}

TEST_F(Album, DescriptionDecidesBeforeTheSettings)
{
    const std::string key = std::string(SETTINGS_PATH) + " albumdefpublic";
    static const struct {
        const char *description;  // null: none
        const char *setting;      // null: no such key
        bool is_public;
    } cases[] = {
        {"1\n", "no", true},        {"1", nullptr, true},      {"0\n", "yes", false},
        {"public\n", "yes", false}, {"\n", "yes", true},  // an empty line is no value
        {nullptr, "yes", true},     {nullptr, "YES", true},    {nullptr, "no", false},
        {nullptr, "yes!", false},   {nullptr, nullptr, false},
    };
    for (const auto &c : cases) {
        platform.calls.clear();
        platform.settings.clear();
        log_lines.clear();
        std::string path = Folder("A");
        std::string file = DescriptionPath(path, "NUBOPHOTO:PUBLIC");
        if (c.description)
            WriteFile(file, c.description);
        if (c.setting)
            platform.settings[key] = c.setting;
        EXPECT_EQ(PhotoShareUpdate(path.c_str(), 1), 0);
        EXPECT_EQ(platform.calls.back(), Insert(1, "A", c.is_public, false));
        EXPECT_FALSE(std::filesystem::exists(file));  // handed over once
        // The message names a key that is not the one read.
        EXPECT_EQ(LogLines(), c.description || c.setting
                                  ? Lines{}
                                  : Lines{"album(#) Can't get key valude. key=supportcinehall"});
    }
}

TEST_F(Album, DeletingAnAlbumTakesItsSubAlbumsAndNoNeighbour)
{
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 2), 0);
    EXPECT_EQ(platform.calls,
              Lines{"PhotoDBExec Delete from photo_share where sharename = 'A' or sharename like 'A/%';"});
}

TEST_F(Album, DeletingTheShareEmptiesTheTable)
{
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo", 2), 0);
    EXPECT_EQ(platform.calls, Lines{"PhotoDBExec Delete from photo_share;"});
    platform.results["PhotoDBExec"] = -1;
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo", 2), -1);
    EXPECT_EQ(log_lines, Lines{"album:# Failed to exec [Delete from photo_share;]"});
}

TEST_F(Album, FailedStatementsAndEscapesAreReported)
{
    platform.results["PhotoDBExec"] = -1;
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 2), -1);
    EXPECT_EQ(log_lines, Lines{"album (#) Failed to exec [Delete from photo_share where sharename = 'A' or "
                               "sharename like 'A/%';]"});
    for (const char *escape : {"NUBODBEscapeString", "NUBODBEscapeBackslash"}) {
        log_lines.clear();
        platform.results = {{escape, -1}};
        EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 2), -1);
        EXPECT_EQ(log_lines, Lines{"album (#) Failed to escape condition."}) << escape;
    }
}

TEST_F(Album, SubAlbumOfAPublicAlbumIsPublicWithoutRights)
{
    platform.queries = {{}, {{{"public", "t"}}}};
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A/x", 1), 0);
    EXPECT_EQ(platform.calls,
              (Lines{"PhotoInfoDBOpen 3 * [shareid > 0] shareid desc 1", "PhotoInfoDBClose",
                     Insert(1, "A/x", false, true), "PhotoInfoDBOpen 3 * [sharename = 'A'] (null) 1",
                     "PhotoInfoDBClose",
                     "PhotoDBExec Update photo_share set public = 't' where sharename = 'A/x';"}));
}

TEST_F(Album, SubAlbumOfAPrivateAlbumGetsEveryRightOfItsParent)
{
    platform.queries = {{{{"shareid", "7"}}},
                        {{{"public", "f"}}},
                        {{{"shareid", "3"}}},
                        {{{"userid", "1024"}}, {{"userid", "1025"}}},
                        {{{"shareid", "8"}}}};
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A/x", 1), 0);
    Lines rights = CallsOf("PhotoDBExec Insert into photo_access_right");
    ASSERT_EQ(rights.size(), 2u);
    for (size_t i = 0; i < 2; i++) {
        // The time is asctime's text with its line feed.
        std::regex form("PhotoDBExec Insert into photo_access_right Values \\(" + std::to_string(1024 + i) +
                        ", 8, '[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}\n'\\)");
        EXPECT_TRUE(std::regex_match(rights[i], form)) << rights[i];
    }
    EXPECT_EQ(CallsOf("PhotoInfoDBOpen 4"), Lines{"PhotoInfoDBOpen 4 * [shareid = '3'] (null) 0"});
    EXPECT_EQ(CallsOf("PhotoInfoDBOpen").size(), CallsOf("PhotoInfoDBClose").size());
}

TEST_F(Album, FailuresOfTheInheritanceAreReportedAtEachLevel)
{
    // No such parent.
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A/x", 1), -1);
    EXPECT_EQ(LogLines(), (Lines{"album(#) Can't get key valude. key=supportcinehall",
                                 "album_access (#) NUBOPhotoShareGetFieldValue failed.",
                                 "album (#) NUBOPhotoShareSubDirUpdatePrivilege Failed."}));
    // The parent has rights, and the sub-album is not there.
    log_lines.clear();
    platform.queries = {{{{"public", "f"}}}, {{{"shareid", "3"}}}, {{{"userid", "1"}}}};
    EXPECT_EQ(NUBOPhotoShareSubDirUpdatePrivilege("A/x"), -1);
    EXPECT_EQ(log_lines, (Lines{"album_access (#) NUBOPhotoShareGetFieldValue failed.",
                                "album_access (#) NUBOPhotoShareSubDirPrivilegeAdd failed."}));
    // The flag cannot be set.
    log_lines.clear();
    platform.queries = {{{{"public", "t"}}}};
    platform.results["PhotoDBExec"] = -1;
    EXPECT_EQ(NUBOPhotoShareSubDirUpdatePrivilege("A/x"), -1);
    EXPECT_EQ(
        log_lines,
        (Lines{"album_access (#) Failed to exec [Update photo_share set public = 't' where sharename = 'A/x';]",
               "album_access (#) NUBOPhotoShareSubDirUpdatePublic failed."}));
    // Names that are no sub-albums.
    log_lines.clear();
    EXPECT_EQ(NUBOPhotoShareSubDirUpdatePrivilege(nullptr), -1);
    EXPECT_EQ(NUBOPhotoShareSubDirUpdatePrivilege("A"), -1);
    EXPECT_EQ(NUBOPhotoShareSubDirPrivilegeAdd(nullptr, "A"), -1);
    EXPECT_EQ(NUBOPhotoShareSubDirPrivilegeAdd("A/x", nullptr), -1);
    EXPECT_EQ(log_lines, Lines(4, "album_access (#) Bad parameter."));
}

TEST_F(Album, ParentWithoutRightsHasNothingToCopy)
{
    platform.queries = {{{{"shareid", "3"}}}, {}};
    EXPECT_EQ(NUBOPhotoShareSubDirPrivilegeAdd("A/x", "A"), 0);
    EXPECT_EQ(CallsOf("PhotoDBExec"), Lines{});
}

TEST_F(Album, FieldValuesAreCutAtTheirBuffer)
{
    platform.queries = {{{{"cover", "0123456789"}}}, {{{"sharename", "A"}}}};
    char value[6] = "";
    EXPECT_EQ(NUBOPhotoShareGetFieldValue("A", "cover", value, sizeof value), 0);
    EXPECT_STREQ(value, "01234");
    EXPECT_EQ(NUBOPhotoShareGetFieldValue("A", "cover", value, sizeof value), 0);  // a null text
    EXPECT_STREQ(value, "");
    EXPECT_EQ(NUBOPhotoShareGetFieldValue("A", "cover", value, sizeof value), -1);  // no such album
}

// Every quote of a name is doubled wherever the name stands in a literal.
TEST_F(Album, NamesNeverBreakOutOfTheirLiteral)
{
    for (const std::string &name : OddNames()) {
        std::string path = "/volume1/photo/" + name;
        platform.calls.clear();
        platform.queries = {{}};
        (void)PhotoShareUpdate(path.c_str(), 1);
        (void)PhotoShareUpdate(path.c_str(), 2);
        std::string literal;
        for (char c : name)
            literal += c == '\'' ? "''" : std::string(1, c);
        Lines statements = CallsOf("PhotoDBExec");
        ASSERT_EQ(statements.size(), 2u) << name;
        EXPECT_EQ(statements[0], Insert(1, literal, false, false));
        EXPECT_EQ(statements[1].find("Delete from photo_share where sharename = '" + literal + "' or"), 12u);
    }
}
