// Cover folders: one for each media path, whatever its bytes, and cleaned alone.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "platform/media_index.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

static std::string Folder(const std::string &media_path)
{
    char out[4096] = "x";
    EXPECT_NE(GetCoverFolder(media_path.c_str(), out, sizeof out), 0) << media_path;
    return out;
}

static std::string Cover(const std::string &media_path, int type, int index, int kind)
{
    char out[4096] = "x";
    EXPECT_NE(GetCoverPath(media_path.c_str(), out, sizeof out, type, index, kind), 0) << media_path;
    return out;
}

TEST(CoverStore, TheFolderLiesInTheStateFolderAndExists)
{
    std::string folder = Folder("/volume1/music/a.mp3");
    EXPECT_EQ(folder.find(Scratch("/state/covers/")), 0u) << folder;
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(folder, Folder("/volume1/music/a.mp3"));
}

TEST(CoverStore, TheSchemeIsStable)
{
    // The first 16 bytes of the SHA-256 of the path: covers must be found again after an update.
    EXPECT_EQ(Folder("abc"), Scratch("/state/covers/ba/7816bf8f01cfea414140de5dae2223"));
    EXPECT_EQ(Cover("abc", 3, 1, 1), Folder("abc") + "/03-1.jpg");
    EXPECT_EQ(Cover("abc", 0, 12, 2), Folder("abc") + "/00-12.png");
}

TEST(CoverStore, NamesDifferByEveryArgument)
{
    std::set<std::string> names;
    for (const char *path : {"/a.mp3", "/b.mp3", "/A.mp3", "/a.mp3 ", "/a/.mp3"}) {
        for (int type = 0; type <= 20; type++) {
            for (int index : {1, 2, 11}) {
                for (int kind : {1, 2})
                    EXPECT_TRUE(names.insert(Cover(path, type, index, kind)).second);
            }
        }
    }
}

TEST(CoverStore, AnyPathHasAFolder)
{
    std::set<std::string> folders;
    for (const std::string &path :
         {std::string(4095, 'x'), std::string(4094, 'x'), std::string("\xff\n'\\.mp3"),
          std::string("/../../etc/passwd"), std::string("/")})
        EXPECT_TRUE(folders.insert(Folder(path)).second);
}

TEST(CoverStore, CleaningRemovesThisFilesCoversOnly)
{
    WriteFile(Cover("/a.mp3", 3, 1, 1), "jpeg");
    WriteFile(Cover("/a.mp3", 0, 2, 2), "png");
    WriteFile(Cover("/b.mp3", 3, 1, 1), "jpeg");
    std::string first = Cover("/a.mp3", 3, 1, 1);
    EXPECT_EQ(CleanOldCover(Folder("/a.mp3").c_str()), 0);
    EXPECT_FALSE(fs::exists(first));
    EXPECT_EQ(ReadFile(Cover("/b.mp3", 3, 1, 1)), "jpeg");
}

TEST(CoverStore, NothingStaysOfAFileWithoutCovers)
{
    EXPECT_EQ(CleanOldCover(Folder("/a.mp3").c_str()), 0);
    char folder[4096];
    ASSERT_NE(GetCoverFolder("/a.mp3", folder, sizeof folder), 0);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(CleanOldCover(folder), 0);
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_EQ(CleanOldCover(folder), 0);  // again: nothing to do
    EXPECT_TRUE(fs::is_directory(fs::path(Cover("/a.mp3", 3, 1, 1)).parent_path()));
}

TEST(CoverStore, OtherFoldersAreNotCleaned)
{
    WriteFile(Scratch("/volume1/music/keep"), "x");
    WriteFile(Scratch("/state/covers/keep"), "x");
    WriteFile(Cover("/a.mp3", 3, 1, 1), "x");
    std::string folder = Folder("/a.mp3");
    std::string shard = fs::path(folder).parent_path();
    for (const std::string &other :
         {Scratch("/volume1/music"), Scratch("/state/covers"), Scratch("/state"), shard, shard + "/",
          folder + "/", folder + "/..", std::string("/"), std::string(),
          shard + "/" + std::string(28, 'a') + "..", std::string(50, '.')})
        EXPECT_NE(CleanOldCover(other.c_str()), 0) << other;
    EXPECT_NE(CleanOldCover(nullptr), 0);
    EXPECT_TRUE(fs::exists(Scratch("/volume1/music/keep")));
    EXPECT_TRUE(fs::exists(Scratch("/state/covers/keep")));
    EXPECT_TRUE(fs::exists(folder + "/03-1.jpg"));
}

TEST(CoverStore, ALinkInPlaceOfAFolderIsNotFollowed)
{
    WriteFile(Scratch("/volume1/music/keep"), "x");
    std::string folder = Folder("/a.mp3");
    fs::remove(folder);
    fs::create_directory_symlink(Scratch("/volume1/music"), folder);
    EXPECT_NE(CleanOldCover(folder.c_str()), 0);
    EXPECT_TRUE(fs::exists(Scratch("/volume1/music/keep")));
}

TEST(CoverStore, BadArgumentsGiveNothing)
{
    char out[4096] = "x";
    EXPECT_EQ(GetCoverFolder(nullptr, out, sizeof out), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(GetCoverFolder("", out, sizeof out), 0);
    EXPECT_EQ(GetCoverFolder("/a", nullptr, 4096), 0);
    EXPECT_EQ(GetCoverFolder("/a", out, 0), 0);
    EXPECT_EQ(GetCoverFolder("/a", out, 10), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(GetCoverPath(nullptr, out, sizeof out, 3, 1, 1), 0);
    EXPECT_EQ(GetCoverPath("/a", nullptr, 4096, 3, 1, 1), 0);
    EXPECT_EQ(GetCoverPath("/a", out, sizeof out, -1, 1, 1), 0);
    EXPECT_EQ(GetCoverPath("/a", out, sizeof out, 3, 0, 1), 0);
    EXPECT_EQ(GetCoverPath("/a", out, sizeof out, 3, 1, 0), 0);
    EXPECT_EQ(GetCoverPath("/a", out, sizeof out, 3, 1, 3), 0);
    int needed = static_cast<int>(Cover("/a", 3, 1, 1).size()) + 1;
    EXPECT_NE(GetCoverPath("/a", out, needed, 3, 1, 1), 0);
    EXPECT_EQ(GetCoverPath("/a", out, needed - 1, 3, 1, 1), 0);
    EXPECT_STREQ(out, "");
}

TEST(CoverStore, AFolderThatCannotBeMadeIsNotGiven)
{
    fs::remove_all(Scratch("/state"));
    WriteFile(Scratch("/state"), "a file stands in the way");
    char out[4096];
    EXPECT_EQ(GetCoverFolder("/a.mp3", out, sizeof out), 0);
    EXPECT_EQ(GetCoverPath("/a.mp3", out, sizeof out, 3, 1, 1), 0);
}
