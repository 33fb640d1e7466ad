// The walk over real trees.
#include "index/index_path.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "common/paths.h"
#include "index/index_modes.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// The calls of a walk; the order of a folder's entries is the file system's.
static Lines SortedCalls()
{
    Lines calls = platform.calls;
    std::sort(calls.begin(), calls.end());
    return calls;
}

static int AddTree(const std::string &path)
{
    return IndexPathUpdate(path.c_str(), INDEX_MODE_ADD, NUBOINDEX_MEDIA);
}

TEST(IndexPath, BadArgumentsAreReported)
{
    EXPECT_EQ(IndexPathUpdate(nullptr, INDEX_MODE_ADD, NUBOINDEX_MEDIA), -1);
    EXPECT_EQ(IndexPathUpdate(nullptr, INDEX_MODE_DELETE, NUBOINDEX_MEDIA), -1);
    EXPECT_EQ(IndexPathUpdate(nullptr, INDEX_MODE_REFRESH, NUBOINDEX_MEDIA), -1);
    EXPECT_EQ(IndexPathUpdate("/x", 4, NUBOINDEX_MEDIA), -1);
    EXPECT_EQ(IndexPathUpdate("/x", 0, NUBOINDEX_MEDIA), -1);
    EXPECT_EQ(log_lines, Lines(5, "index_path (#) Bad parameter."));
}

TEST(IndexPath, WholeTreeIsIndexedAndEveryFolderSaved)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(share + "/a.m3u", "");
    WriteFile(share + "/A/b.m3u", "");
    WriteFile(share + "/A/B/c.M3U", "");
    WriteFile(share + "/A/B/cover.txt", "");
    MakeFolder(share + "/empty");
    EXPECT_EQ(AddTree(share), 0);
    EXPECT_EQ(SortedCalls(),
              (Lines{"MediaInfoDBDirSave " + share, "MediaInfoDBDirSave " + share + "/A",
                     "MediaInfoDBDirSave " + share + "/A/B", "MediaInfoDBDirSave " + share + "/empty",
                     "MediaInfoDBSave 3 " + share + "/A/B/c.M3U", "MediaInfoDBSave 3 " + share + "/A/b.m3u",
                     "MediaInfoDBSave 3 " + share + "/a.m3u"}));
    EXPECT_EQ(platform.calls.front(), "MediaInfoDBDirSave " + share);  // the folder comes before its entries
}

TEST(IndexPath, AttributeFoldersAreNeverEntered)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(share + "/@eaDir/x.m3u", "");
    WriteFile(share + "/a/@eaDir/y.m3u", "");
    WriteFile(share + "/@eadir/kept.m3u", "");  // the name is compared exactly
    EXPECT_EQ(AddTree(share), 0);
    EXPECT_EQ(SortedCalls(),
              (Lines{"MediaInfoDBDirSave " + share, "MediaInfoDBDirSave " + share + "/@eadir",
                     "MediaInfoDBDirSave " + share + "/a", "MediaInfoDBSave 3 " + share + "/@eadir/kept.m3u"}));
}

// The recycle bin is the third component of a path; the scratch folder itself lies at /tmp/<name>.
TEST(IndexPath, RecycleBinBelowAShareIsSkippedAndDeeperOnesAreNot)
{
    std::string root = Scratch("");
    WriteFile(root + "/#recycle/x.m3u", "");
    WriteFile(root + "/#recycle/sub/y.m3u", "");
    WriteFile(root + "/#recycled/z.m3u", "");
    WriteFile(root + "/deep/#recycle/k.m3u", "");
    EXPECT_EQ(AddTree(root + "/#recycle"), 0);
    EXPECT_EQ(AddTree(root + "/#recycle/sub"), 0);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(AddTree(root), 0);
    Lines saved;
    for (const std::string &call : SortedCalls())
        if (call.rfind("MediaInfoDBSave", 0) == 0)
            saved.push_back(call);
    EXPECT_EQ(saved, (Lines{"MediaInfoDBSave 3 " + root + "/#recycled/z.m3u",
                            "MediaInfoDBSave 3 " + root + "/deep/#recycle/k.m3u"}));
}

TEST(IndexPath, DeleteGoesByPrefixWithoutLookingAtTheDisk)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(share + "/still/here.m3u", "");
    EXPECT_EQ(IndexPathUpdate(share.c_str(), INDEX_MODE_DELETE, NUBOINDEX_MEDIA), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDelete 5 " + share});

    platform.calls.clear();
    EXPECT_EQ(IndexPathUpdate("/volume1/photo/x", INDEX_MODE_DELETE, NUBOINDEX_PHOTO), 0);
    EXPECT_EQ(platform.calls, Lines{});  // photos are switched off
}

TEST(IndexPath, SingleFilesAndMissingPaths)
{
    std::string file = Scratch("/volume1/music/a.m3u");
    WriteFile(file, "");
    EXPECT_EQ(AddTree(file), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + file});
    EXPECT_EQ(AddTree("/volume1/music/nothing.m3u"), 0);
    EXPECT_EQ(platform.calls.size(), 1u);
}

TEST(IndexPath, DanglingLinksAreSkippedAndLinksToFilesAndFoldersFollowed)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(Scratch("/elsewhere/a.m3u"), "");
    MakeFolder(share);
    ASSERT_EQ(symlink("/nowhere.m3u", (share + "/dangling.m3u").c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/elsewhere/a.m3u").c_str(), (share + "/file.m3u").c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/elsewhere").c_str(), (share + "/folder").c_str()), 0);
    EXPECT_EQ(AddTree(share), 0);
    EXPECT_EQ(SortedCalls(), (Lines{"MediaInfoDBDirSave " + share, "MediaInfoDBDirSave " + share + "/folder",
                                    "MediaInfoDBSave 3 " + share + "/file.m3u",
                                    "MediaInfoDBSave 3 " + share + "/folder/a.m3u"}));
}

TEST(IndexPath, LinkCycleEndsByItself)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(share + "/a.m3u", "");
    ASSERT_EQ(symlink(".", (share + "/loop").c_str()), 0);
    EXPECT_EQ(AddTree(share), 0);
    EXPECT_GT(platform.calls.size(), 1u);
}

TEST(IndexPath, PathsBeyondTheBufferAreSkipped)
{
    std::string share = Scratch("/volume1/deep");
    std::string file = MakeDeepFile(share, 4095, ".m3u");
    (void)MakeDeepFile(share, 4300, ".m3u");
    EXPECT_EQ(AddTree(share), 0);
    Lines saved;
    for (const std::string &call : platform.calls)
        if (call.rfind("MediaInfoDBSave", 0) == 0)
            saved.push_back(call);
    EXPECT_EQ(saved, Lines{"MediaInfoDBSave 3 " + file});
    EXPECT_EQ(log_lines, Lines{});
}

// A path has room for two thousand levels. A thread's small stack shows with fewer what each of them takes.
TEST(IndexPath, DeepTreeNeedsLittleStack)
{
    static std::string share;
    share = Scratch("/volume1/music");
    std::string dir = share;
    for (int i = 0; i < 400; i++)
        dir += "/d";
    WriteFile(dir + "/a.m3u", "");

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1 << 20);
    pthread_t thread;
    auto walk = [](void *) -> void * {
        EXPECT_EQ(AddTree(share), 0);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, walk, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(platform.calls.size(), 402u);
    EXPECT_EQ(platform.calls.back(), "MediaInfoDBSave 3 " + dir + "/a.m3u");
}

TEST(IndexPath, UnopenableFolderEndsItsBranchOnly)
{
    // Root opens everything, so the folder is made unopenable by running out of descriptors instead.
    std::string share = Scratch("/volume1/music");
    MakeFolder(share);
    std::vector<int> taken;
    for (int fd; (fd = dup(0)) >= 0;)
        taken.push_back(fd);
    int result = AddTree(share);
    for (int fd : taken)
        close(fd);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(log_lines, Lines{"index_path (#) Failed to open directory " + share + " "});
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(IndexPath, UnopenableBranchDoesNotStopItsSiblings)
{
    std::string share = Scratch("/volume1/music");
    WriteFile(share + "/a.m3u", "");
    WriteFile(share + "/A/b.m3u", "");
    WriteFile(share + "/A/B/c.m3u", "");
    std::vector<int> taken;
    for (int fd; (fd = dup(0)) >= 0;)
        taken.push_back(fd);
    for (int levels = 0; levels < 2; levels++) {  // room for the share and A, not for B
        close(taken.back());
        taken.pop_back();
    }
    int result = AddTree(share);
    for (int fd : taken)
        close(fd);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(log_lines, Lines{"index_path (#) Failed to open directory " + share + "/A/B "});
    EXPECT_EQ(SortedCalls(),
              (Lines{"MediaInfoDBDirSave " + share, "MediaInfoDBDirSave " + share + "/A",
                     "MediaInfoDBSave 3 " + share + "/A/b.m3u", "MediaInfoDBSave 3 " + share + "/a.m3u"}));
}

TEST(IndexPath, NamesOfAnyBytesAreKeptAsTheyAre)
{
    std::string file = Scratch("/volume1/music/\xff\xfe 'q\" \\ %s\n.m3u");
    WriteFile(file, "");
    EXPECT_EQ(AddTree(Scratch("/volume1/music")), 0);
    EXPECT_EQ(platform.calls.back(), "MediaInfoDBSave 3 " + file);
}

TEST(IndexPath, RebuildOfAnUnknownTypeIsRefused)
{
    for (int type : {0, +NUBOINDEX_PHOTO, NUBOINDEX_MEDIA + NUBOINDEX_PHOTO, NUBOINDEX_MUSIC + NUBOINDEX_VIDEO})
        EXPECT_EQ(IndexPathUpdate(nullptr, INDEX_MODE_REBUILD, type), -1) << type;
    EXPECT_EQ(log_lines, Lines(4, "index_path (#) index type must be NUBOINDEX_MEDIA"));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(ShareReindex, ForgetsTheShareAndWalksTheLinksTarget)
{
    WriteFile(Scratch("/volume1/music/a.m3u"), "");
    ASSERT_EQ(symlink(Scratch("/volume1/music").c_str(), MUSIC_SHARE_LINK), 0);
    ShareReindex(MUSIC_SHARE_LINK);
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDelete 5 " + Scratch("/volume1/music"),
                                     "MediaInfoDBDirSave " + Scratch("/volume1/music"),
                                     "MediaInfoDBSave 3 " + Scratch("/volume1/music/a.m3u")}));
}

TEST(ShareReindex, NothingHappensWithoutALink)
{
    ShareReindex(nullptr);
    ShareReindex("");
    ShareReindex(MUSIC_SHARE_LINK);         // missing
    ShareReindex(Scratch("/etc").c_str());  // not a link
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}
