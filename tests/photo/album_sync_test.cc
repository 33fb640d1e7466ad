// Albums follow the folders: mark, sweep, new folders.
#include "photo/album_sync.h"

#include <algorithm>

#include "photo/photo_share.h"

class AlbumSync : public PhotoShare
{
  protected:
    // The statements, an insert as "+name" and a mark as "=name".
    static Lines Changes()
    {
        static const std::regex insert("PhotoDBExec Insert into photo_share values\\(\\d+, '([^']*)'.*");
        static const std::regex mark(
            "PhotoDBExec Update photo_share set updated = '1' where sharename = '([^']*)'");
        Lines changes;
        for (const std::string &call : CallsOf("PhotoDBExec")) {
            std::smatch match;
            if (std::regex_match(call, match, insert))
                changes.push_back("+" + match[1].str());
            else if (std::regex_match(call, match, mark))
                changes.push_back("=" + match[1].str());
            else if (call.find(" set public ") == std::string::npos)
                changes.push_back(call);
        }
        return changes;
    }
};

static const std::string UNMARK = "PhotoDBExec Update photo_share set updated = '0'";
static const std::string SWEEP = "PhotoDBExec Delete from photo_share where updated = '0'";

TEST_F(AlbumSync, NewFoldersOfTwoLevelsBecomeAlbums)
{
    Folder("A/x/deep");
    Folder("B");
    File("picture.jpg");
    EXPECT_EQ(PhotoShareSync(nullptr), 0);
    EXPECT_EQ(Changes(), (Lines{UNMARK, "+A", "+A/x", "+B", SWEEP}));
}

TEST_F(AlbumSync, KnownAlbumsAreMarkedAndKeepTheirIds)
{
    Folder("A");
    platform.queries = {{{{"sharename", "A"}, {"shareid", "5"}}}};
    EXPECT_EQ(PhotoShareSync(nullptr), 0);
    EXPECT_EQ(Changes(), (Lines{UNMARK, "=A", SWEEP}));
}

TEST_F(AlbumSync, RecycleBinsAttributesAndHiddenFoldersAreNoAlbums)
{
    Folder("#recycle/x");
    Folder("@eaDir");
    Folder("A@eaDirB");
    Folder(".hidden");
    Folder("A/#recycle");
    Folder("A/@eaDir");
    EXPECT_EQ(PhotoShareSync(nullptr), 0);
    EXPECT_EQ(Changes(), (Lines{UNMARK, "+A", SWEEP}));
}

TEST_F(AlbumSync, PathBelowTheTopLevelIsNobodysBusiness)
{
    EXPECT_EQ(PhotoShareSync((root + "/A/x").c_str()), 0);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(AlbumSync, FailuresOfTheBracketEndIt)
{
    platform.results["PhotoDBExec"] = -1;
    EXPECT_EQ(PhotoShareSync(nullptr), -1);
    EXPECT_EQ(log_lines, (Lines{"album_sync (#) Failed to exec [Update photo_share set updated = '0'].",
                                "album_sync (#) Failed to set updated to 0 for all rows."}));
    log_lines.clear();
    EXPECT_EQ(PhotoShareDeleteNoUpdated(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{"album_sync (#) Failed to exec [Delete from photo_share where updated = '0']."});

    std::filesystem::remove(PHOTO_SHARE_LINK);
    log_lines.clear();
    EXPECT_EQ(PhotoShareSync(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{std::string("album_sync (#) Failed to read link of ") + PHOTO_SHARE_LINK});
}

TEST_F(AlbumSync, ShareThatCannotBeEnteredKeepsItsAlbums)
{
    std::filesystem::remove_all(root);
    EXPECT_EQ(PhotoShareSync(nullptr), -1);
    EXPECT_EQ(Changes(), Lines{UNMARK});
}

TEST_F(AlbumSync, QueryThatFailsIsReportedAndTheNextAlbumFollows)
{
    Folder("A");
    Folder("B");
    platform.results["PhotoInfoDBOpen"] = -1;
    EXPECT_EQ(PhotoShareSync(nullptr), 0);
    EXPECT_EQ(Changes(), (Lines{UNMARK, SWEEP}));
    EXPECT_EQ(log_lines, Lines(2, "album_sync (#) Error occurred, failed to get records."));
}

TEST_F(AlbumSync, MarkAlwaysAnswersFailureAndLeavesItsQueryOpen)
{
    platform.queries = {{{{"sharename", "A"}}}};
    EXPECT_EQ(PhotoShareMarkUpdated("A"), -1);
    EXPECT_EQ(platform.calls,
              (Lines{"PhotoInfoDBOpen 3 * [sharename = 'A'] (null) 0",
                     "PhotoDBExec Update photo_share set updated = '1' where sharename = 'A'"}));
}

TEST_F(AlbumSync, PrefixFormsNameTheSubAlbumsOfOneAlbum)
{
    EXPECT_EQ(PhotoShareInitUpdated("A\\"), 0);
    EXPECT_EQ(PhotoShareDeleteNoUpdated("A\\"), 0);
    EXPECT_EQ(platform.calls,
              (Lines{"PhotoDBExec Update photo_share set updated = '0' where sharename like 'A\\\\/%'",
                     "PhotoDBExec Delete from photo_share where updated = '0' and sharename like 'A\\\\/%'"}));
}

TEST_F(AlbumSync, NewTopLevelFolderIsAddedWithItsSubfolders)
{
    Folder("A/x/deep");
    Folder("A/#recycle");
    Folder("A/@eaDir");
    EXPECT_EQ(PhotoShareAddDir((root + "/A").c_str()), 0);
    EXPECT_EQ(Changes(), (Lines{"+A", "+A/#recycle", "+A/x"}));  // the bin is not skipped here
}

TEST_F(AlbumSync, NewFoldersOfOtherDepths)
{
    Folder("A/x/deep");
    EXPECT_EQ(PhotoShareAddDir((root + "/A/x/deep").c_str()), 0);
    EXPECT_EQ(Changes(), Lines{});
    EXPECT_EQ(PhotoShareAddDir((root + "/A/x").c_str()), 0);
    EXPECT_EQ(Changes(), Lines{"+A/x"});
    EXPECT_EQ(PhotoShareAddDir(nullptr), -1);
    EXPECT_EQ(PhotoShareAddDir(""), -1);
}

TEST_F(AlbumSync, SeparatelyCheckedListingsLeaveOutLinksToFiles)
{
    Folder("A");
    ASSERT_EQ(symlink("/dev/null", (root + "/A/link").c_str()), 0);
    EXPECT_EQ(PhotoShareAddDir((root + "/A").c_str()), 0);
    EXPECT_EQ(Changes(), Lines{"+A"});
}
