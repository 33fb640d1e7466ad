// The files of a walk, and the place of each.
#include "progress/file_count.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <vector>

#include "support/scratch.h"

static const std::atomic<bool> go_on = false;

static std::string Real(const std::string &path)
{
    char *real = realpath(path.c_str(), nullptr);
    std::string copy = real ? real : "";
    free(real);
    return copy;
}

static int64_t FilesBefore(const FileCount &count, const std::string &path)
{
    std::optional<FileTotal> before = count.Before(path);
    return before ? before->files : -1;
}

TEST(FileCount, EveryFileHasThePlaceInWhichTheFileSystemListsIt)
{
    std::string root = Scratch("/volume1/music");
    for (int i = 0; i < 300; i++)
        WriteFile(root + "/song " + std::to_string(i) + ".mp3", std::string(10, 'x'));
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_LISTED, false}, go_on));
    EXPECT_EQ(count.Total().files, 300);
    EXPECT_EQ(count.Total().bytes, 3000);

    DIR *dir = opendir(root.c_str());
    int64_t expected = 0;
    while (const dirent *entry = readdir(dir)) {
        if (entry->d_name[0] == '.')
            continue;
        std::optional<FileTotal> before = count.Before(Real(root) + "/" + entry->d_name);
        ASSERT_TRUE(before);
        EXPECT_EQ(before->files, expected);
        EXPECT_EQ(before->bytes, 10 * expected);
        expected++;
    }
    closedir(dir);
}

// A reader's own mark tells in which part of a large folder it is.
TEST(FileCount, AFoldersMarkIsAPlaceTooAndNeverAhead)
{
    std::string root = Scratch("/volume1/music");
    for (int i = 0; i < 3000; i++)
        WriteFile(root + "/" + std::string(60, 'n') + std::to_string(i) + ".srt", "");
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_LISTED, false}, go_on));
    DIR *dir = opendir(root.c_str());
    int64_t done = 0;
    std::set<int64_t> places;
    while (const dirent *entry = readdir(dir)) {
        std::optional<FileTotal> place = count.BeforeMark(Real(root), lseek(dirfd(dir), 0, SEEK_CUR));
        ASSERT_TRUE(place);
        ASSERT_LE(place->files, done);
        places.insert(place->files);
        done += entry->d_name[0] != '.';
    }
    closedir(dir);
    EXPECT_GT(places.size(), 3u);
    EXPECT_FALSE(count.BeforeMark(Real(root), -5));
}

TEST(FileCount, WhatTheDaemonSkipsIsNotCounted)
{
    std::string root = Scratch("/volume1/music");
    WriteFile(root + "/a.mp3", "1");
    WriteFile(root + "/@eaDir/b.mp3", "1");
    WriteFile(root + "/A/@eaDir/b.mp3", "1");
    WriteFile(root + "/A/c.mp3", "1");
    ASSERT_EQ(symlink("/nowhere", (root + "/dangling.mp3").c_str()), 0);
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_LISTED, false}, go_on));
    EXPECT_EQ(count.Total().files, 2);
    EXPECT_EQ(FilesBefore(count, Real(root) + "/@eaDir/b.mp3"), -1);
}

// /proc shows the daemon's files without symbolic links, whatever way they were reached.
TEST(FileCount, LinkedFilesAndFoldersAreFoundUnderTheirRealNames)
{
    std::string root = Scratch("/volume1/music"), elsewhere = Scratch("/elsewhere");
    WriteFile(elsewhere + "/folder/a.mp3", "12");
    WriteFile(elsewhere + "/b.mp3", "345");
    MakeFolder(root);
    ASSERT_EQ(symlink((elsewhere + "/folder").c_str(), (root + "/linked").c_str()), 0);
    ASSERT_EQ(symlink((elsewhere + "/b.mp3").c_str(), (root + "/b.mp3").c_str()), 0);
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_LISTED, false}, go_on));
    EXPECT_EQ(count.Total().files, 2);
    EXPECT_EQ(count.Total().bytes, 5);
    EXPECT_GE(FilesBefore(count, Real(elsewhere) + "/folder/a.mp3"), 0);
    EXPECT_GE(FilesBefore(count, Real(elsewhere) + "/folder"), 0);
    EXPECT_GE(FilesBefore(count, Real(elsewhere) + "/b.mp3"), 0);
}

TEST(FileCount, TheSortedWalkTakesFilesFromTheLastNameAndThenTheFolders)
{
    std::string root = Scratch("/volume1/photo");
    for (const char *name :
         {"/a.jpg", "/b.jpg", "/noending", "/.hidden.jpg", "/B/c.jpg", "/A/d.jpg", "/.x/e.jpg"})
        WriteFile(root + name, "1");
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_SORTED, false}, go_on));
    EXPECT_EQ(count.Total().files, 4);
    int64_t place = 0;
    for (const char *name : {"/b.jpg", "/a.jpg", "/A/d.jpg", "/B/c.jpg"})
        EXPECT_EQ(FilesBefore(count, Real(root) + name), place++) << name;
}

TEST(FileCount, ASingleFolderIsNoFileAndASingleFileIsOne)
{
    WriteFile(Scratch("/volume1/music/a.mp3"), "123");
    FileCount count;
    ASSERT_TRUE(count.Walk({Scratch("/volume1/music"), WALK_LISTED, true}, go_on));
    EXPECT_EQ(count.Total().files, 0);
    ASSERT_TRUE(count.Walk({Scratch("/volume1/music/a.mp3"), WALK_LISTED, true}, go_on));
    ASSERT_TRUE(count.Walk({Scratch("/volume1/gone.mp3"), WALK_LISTED, true}, go_on));
    EXPECT_EQ(count.Total().files, 1);
    EXPECT_EQ(count.Total().bytes, 3);
}

// The system follows forty links of one path, and no more.
TEST(FileCount, LinksThatLeadInACircleEnd)
{
    std::string root = Scratch("/volume1/music");
    WriteFile(root + "/a.mp3", "1");
    ASSERT_EQ(symlink(root.c_str(), (root + "/again").c_str()), 0);
    FileCount count;
    ASSERT_TRUE(count.Walk({root, WALK_LISTED, false}, go_on));
    EXPECT_GT(count.Total().files, 1);
    EXPECT_LT(count.Total().files, 50);
}

TEST(FileCount, ItEndsWhenItIsToldTo)
{
    WriteFile(Scratch("/volume1/music/a.mp3"), "1");
    const std::atomic<bool> stop = true;
    for (WalkOrder order : {WALK_LISTED, WALK_SORTED})
        EXPECT_FALSE(FileCount().Walk({Scratch("/volume1/music"), order, false}, stop));
}
