// Moved albums: rows, covers, levels.
#include "photo/album_rename.h"

#include "photo/photo_share.h"

class AlbumRename : public PhotoShare
{
  protected:
    static std::string Row(const std::string &now, const std::string &old, bool is_sub)
    {
        return "PhotoDBExec Update photo_share set sharename = '" + now + "', is_subdir = '" +
               (is_sub ? "t" : "f") + "' where sharename = '" + old + "'";
    }

    static std::string Cover(const std::string &now, const std::string &old)
    {
        return "PhotoDBExec UPDATE photo_share SET cover = replace(cover, '/var/services/photo/" + old +
               "/', '/var/services/photo/" + now + "/') WHERE sharename='" + now + "'";
    }

    int Rename(const std::string &now, const std::string &old)
    {
        return PhotoShareRename((root + "/" + now).c_str(), (root + "/" + old).c_str());
    }
};

TEST_F(AlbumRename, TopLevelAlbumTakesItsCoverAndItsSubAlbumsAlong)
{
    platform.queries = {{{{"sharename", "A/x"}}, {{"sharename", "A/y"}}}};
    EXPECT_EQ(Rename("B", "A"), 0);
    EXPECT_EQ(
        platform.calls,
        (Lines{Row("B", "A", false), Cover("B", "A"), "PhotoInfoDBOpen 3 * [sharename like 'A/%'] (null) 0",
               "PhotoDBExec Update photo_share set sharename = 'B/x' where sharename = 'A/x'",
               "PhotoDBExec Update photo_share set sharename = 'B/y' where sharename = 'A/y'",
               "PhotoInfoDBClose"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(AlbumRename, AlbumMovedIntoAnotherLosesItsFormerSubAlbums)
{
    EXPECT_EQ(Rename("P/A", "A"), 0);
    EXPECT_EQ(platform.calls,
              (Lines{Row("P/A", "A", true), Cover("P/A", "A"),
                     "PhotoDBExec Delete from photo_share where sharename = 'A' or sharename like 'A/%';"}));
}

TEST_F(AlbumRename, SubAlbumMovedToTheTopGetsItsSubfoldersAsAlbums)
{
    Folder("A/x");
    EXPECT_EQ(Rename("A", "P/A"), 0);
    EXPECT_EQ(platform.calls[0], Row("A", "P/A", false));
    EXPECT_EQ(platform.calls[1], Cover("A", "P/A"));
    Lines inserts = CallsOf("PhotoDBExec Insert into photo_share");
    ASSERT_EQ(inserts.size(), 2u);  // the folder itself too, though its row is there already
    EXPECT_NE(inserts[0].find("'A'"), std::string::npos);
    EXPECT_NE(inserts[1].find("'A/x'"), std::string::npos);
}

TEST_F(AlbumRename, OtherLevelsMoveTheRowAndItsCoverAlone)
{
    for (auto [now, old] : {std::pair{"P/b", "P/a"}, {"P/a/deep", "P/a"}, {"P/a", "P/a/deep"}}) {
        platform.calls.clear();
        EXPECT_EQ(Rename(now, old), 0);
        EXPECT_EQ(platform.calls, (Lines{Row(now, old, true), Cover(now, old)}));
    }
}

TEST_F(AlbumRename, FoldersBelowTheSecondLevelChangeNothingAndReportFailure)
{
    EXPECT_EQ(Rename("A/x/new", "A/x/old"), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(AlbumRename, FolderWithoutARowIsAddedAndStillReportsFailure)
{
    Folder("B/x");
    platform.results["PhotoDBExec"] = 0;
    EXPECT_EQ(Rename("B", "A"), -1);
    EXPECT_EQ(CallsOf("PhotoDBExec Insert into photo_share").size(), 2u);
    EXPECT_EQ(CallsOf("PhotoDBExec UPDATE"), Lines{});
}

TEST_F(AlbumRename, NothingRenamedAndNoFolderThereFailsAtTheCover)
{
    platform.results["PhotoDBExec"] = 0;
    EXPECT_EQ(Rename("B", "A"), -1);
    EXPECT_EQ(log_lines, Lines{"album_rename:# UPDATE cover failed, sharename [B] not exists in db."});
}

TEST_F(AlbumRename, FailuresAreReported)
{
    EXPECT_EQ(PhotoShareRename(nullptr, "/volume1/photo/A"), -1);
    EXPECT_EQ(PhotoShareRename("/volume1/photo/A", ""), -1);
    EXPECT_EQ(log_lines, Lines(2, "album_rename (#) Bad parameter."));

    log_lines.clear();
    platform.results["PhotoDBExec"] = -1;
    EXPECT_EQ(Rename("B", "A"), -1);
    EXPECT_EQ(log_lines,
              Lines{"album_rename (#) Failed to exec [Update photo_share set sharename = 'B', is_subdir = "
                    "'f' where sharename = 'A']"});
    log_lines.clear();
    platform.results = {{"PhotoInfoDBOpen", -1}};
    EXPECT_EQ(Rename("B", "A"), -1);
    EXPECT_EQ(log_lines, (Lines{"album_rename (#) Error occurred, failed to get records.",
                                "album_rename (#) NUBOPhotoShareRenameSubDir failed."}));
    log_lines.clear();
    platform.results = {{"NUBODBEscapeString", -1}};
    EXPECT_EQ(Rename("B", "A"), -1);
    EXPECT_EQ(log_lines, Lines{"album_rename (#) Failed to escape condition."});
}

TEST_F(AlbumRename, NamesNeverBreakOutOfTheirLiteral)
{
    for (const std::string &name : OddNames()) {
        platform.calls.clear();
        EXPECT_EQ(Rename(name, "A"), 0) << name;
        std::string literal;
        for (char c : name)
            literal += c == '\'' ? "''" : std::string(1, c);
        EXPECT_EQ(platform.calls[0], Row(literal, "A", false));
    }
}
