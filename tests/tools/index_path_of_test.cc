// From what a user writes to what the index stores.
#include "index_path_of.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "common/paths.h"
#include "support/scratch.h"

static std::string PathOf(const std::string &given)
{
    std::string reason;
    std::optional<std::string> path = IndexPathOf(given, reason);
    return path ? *path : "refused: " + reason;
}

// The folder that the test runs in, left when it ends.
struct InFolder {
    InFolder(const std::string &folder)
    {
        MakeFolder(folder);
        EXPECT_EQ(chdir(folder.c_str()), 0);
        setenv("PWD", folder.c_str(), 1);
    }
    ~InFolder()
    {
        EXPECT_EQ(chdir("/"), 0);
        setenv("PWD", "/", 1);
    }
};

TEST(IndexPathOf, AbsolutePathsAreCleanedAsText)
{
    static constexpr struct {
        const char *given;
        const char *path;
    } cases[] = {
        {"/volume1/music/a.mp3", "/volume1/music/a.mp3"},
        {"/volume1//music/./a.mp3", "/volume1/music/a.mp3"},
        {"/volume1/music/", "/volume1/music"},  // a slash at the end would become part of the stored name
        {"/volume1/music/x/../a.mp3", "/volume1/music/a.mp3"},
        {"/../a", "/a"},
        {"/", "/"},
        {"/volume1/..a/...", "/volume1/..a/..."},
        {"/a\nb/\xff c", "/a\nb/\xff c"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(PathOf(c.given), c.path) << c.given;
}

TEST(IndexPathOf, AnEmptyPathIsRefused)
{
    EXPECT_EQ(PathOf(""), "refused: the path is empty");
}

TEST(IndexPathOf, RelativePathsStartAtTheFolderAsTheShellNamesIt)
{
    MakeFolder(Scratch("/disk/music"));
    ASSERT_EQ(symlink(Scratch("/disk").c_str(), Scratch("/volume2").c_str()), 0);
    InFolder folder(Scratch("/volume2/music"));
    EXPECT_EQ(PathOf("a.mp3"), Scratch("/volume2/music/a.mp3"));
    EXPECT_EQ(PathOf("./b/../a.mp3"), Scratch("/volume2/music/a.mp3"));
    EXPECT_EQ(PathOf("."), Scratch("/volume2/music"));

    setenv("PWD", "/wrong", 1);  // then the folder's real name is all there is
    EXPECT_EQ(PathOf("a.mp3"), Scratch("/disk/music/a.mp3"));
}

TEST(IndexPathOf, AVanishedCurrentFolderIsRefused)
{
    InFolder folder(Scratch("/gone"));
    ASSERT_EQ(rmdir(Scratch("/gone").c_str()), 0);
    EXPECT_EQ(PathOf("a.mp3").find("refused: the current folder has no path"), 0u);
    EXPECT_EQ(PathOf("/a.mp3"), "/a.mp3");
}

TEST(IndexPathOf, SymbolicLinksStayAsWritten)
{
    MakeFolder(Scratch("/volume1/music/real"));
    ASSERT_EQ(symlink("real", Scratch("/volume1/music/link").c_str()), 0);
    EXPECT_EQ(PathOf(Scratch("/volume1/music/link")), Scratch("/volume1/music/link"));
    EXPECT_EQ(PathOf(Scratch("/volume1/music/link/a.mp3")), Scratch("/volume1/music/link/a.mp3"));
}

TEST(IndexPathOf, TwoDotsBehindALinkLeaveItsTarget)
{
    MakeFolder(Scratch("/disk/deep"));
    ASSERT_EQ(symlink(Scratch("/disk/deep").c_str(), Scratch("/volume1/link").c_str()), 0);
    EXPECT_EQ(PathOf(Scratch("/volume1/link/../a")), Scratch("/disk/a"));
    ASSERT_EQ(symlink("/nowhere/at/all", Scratch("/volume1/dangling").c_str()), 0);
    EXPECT_EQ(PathOf(Scratch("/volume1/dangling/../a")), Scratch("/volume1/a"));
}

TEST(IndexPathOf, AShareLinkIsReplacedByWhatItHolds)
{
    ASSERT_EQ(symlink("/volume1/music", MUSIC_SHARE_LINK), 0);
    std::string link = MUSIC_SHARE_LINK;
    EXPECT_EQ(PathOf(link), "/volume1/music");
    EXPECT_EQ(PathOf(link + "/"), "/volume1/music");
    EXPECT_EQ(PathOf(link + "/A/a.mp3"), "/volume1/music/A/a.mp3");
    EXPECT_EQ(PathOf(link + "2/a.mp3"), link + "2/a.mp3");  // only whole names count
    EXPECT_EQ(PathOf(std::string(VIDEO_SHARE_LINK) + "/v.avi"), std::string(VIDEO_SHARE_LINK) + "/v.avi");
}

TEST(IndexPathOf, TheRealNameOfAShareIsReplacedByTheOneInItsLink)
{
    MakeFolder(Scratch("/disk/photo"));
    ASSERT_EQ(symlink(Scratch("/disk").c_str(), Scratch("/volume2").c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/volume2/photo").c_str(), PHOTO_SHARE_LINK), 0);
    EXPECT_EQ(PathOf(Scratch("/disk/photo/a.jpg")), Scratch("/volume2/photo/a.jpg"));
    EXPECT_EQ(PathOf(Scratch("/volume2/photo/a.jpg")), Scratch("/volume2/photo/a.jpg"));
    EXPECT_EQ(PathOf(Scratch("/disk/photos/a.jpg")), Scratch("/disk/photos/a.jpg"));
}
