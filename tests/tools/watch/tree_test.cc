// What people do to files and folders while the watcher runs. At the end the rows are those of a rebuild.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "watch_box.h"

namespace fs = std::filesystem;

struct WatchTree : WatchBox {
};
WATCH_TESTS(WatchTree);

static void SamplesCopy()
{
    TreeCopy(Sample("music/Sigur Öst"), "/volume1/music/Sigur Öst");
    TreeCopy(Sample("music/Various"), "/volume1/music/Various");
    TreeCopy(Sample("photo/Été 2009"), "/volume1/photo/Été 2009");
    TreeCopy(Sample("photo/Scans"), "/volume1/photo/Été 2009/Scans");
    FileWrite("/volume1/video/Films/a.srt", "");
}

TEST_P(WatchTree, CopiedFoldersAreIndexed)
{
    WatchAndDaemon();
    SamplesCopy();
    FileCopy(Sample("music/favourites.m3u"), "/volume1/music/favourites.m3u");
    Settle();
    EXPECT_EQ(RowOf("music", "/volume1/music/Sigur Öst/Första skivan/01 Öppning.mp3").count("title"), 1u);
    EXPECT_EQ(RowOf("photo", "/volume1/photo/Été 2009/IMG_0001.jpg").count("title"), 1u);
    ExpectLikeRebuild();
}

TEST_P(WatchTree, MovedInAndOutAgain)
{
    TreeCopy(Sample("music/Various"), "/volume1/elsewhere/Various");
    TreeCopy(Sample("photo/Été 2009"), "/volume1/elsewhere/Été 2009");
    FileWrite("/volume1/elsewhere/alone.srt", "");
    WatchAndDaemon();
    FileMove("/volume1/elsewhere/Various", "/volume1/music/Various");
    FileMove("/volume1/elsewhere/Été 2009", "/volume1/photo/Été 2009");
    FileMove("/volume1/elsewhere/alone.srt", "/volume1/video/alone.srt");
    Settle();
    EXPECT_FALSE(RowOf("music", "/volume1/music/Various/wave.wav").empty());
    EXPECT_FALSE(RowOf("photo", "/volume1/photo/Été 2009/IMG_0002.jpg").empty());
    EXPECT_FALSE(RowOf("video", "/volume1/video/alone.srt").empty());
    FileMove("/volume1/music/Various", "/volume1/elsewhere/Various");
    FileMove("/volume1/photo/Été 2009/IMG_0001.jpg", "/volume1/elsewhere/IMG_0001.jpg");
    FileMove("/volume1/video/alone.srt", "/volume1/elsewhere/alone.srt");
    ExpectLikeRebuild();
    EXPECT_TRUE(RowOf("video", "/volume1/video/alone.srt").empty());
}

TEST_P(WatchTree, Renames)
{
    SamplesCopy();
    WatchAndDaemon();
    FileMove("/volume1/music/Various/wave.wav", "/volume1/music/Various/surf.wav");
    FileMove("/volume1/music/Various/atom.m4a", "/volume1/music/Various/a:b.m4a");  // a colon forbids a rename
    FileMove("/volume1/music/Various/float.wav", "/volume1/music/Various/float.bak");   // no longer indexed
    FileMove("/volume1/music/Various/stream.aac", "/volume1/music/Various/dolby.ac3");  // replaces it
    FileMove("/volume1/music/Sigur Öst/Första skivan", "/volume1/music/Sigur Öst/1");
    FileMove("/volume1/music/Sigur Öst", "/volume1/music/S");  // a folder of a folder that was just renamed
    FileMove("/volume1/photo/Été 2009/IMG_0001.jpg", "/volume1/photo/Été 2009/first.jpg");
    FileMove("/volume1/photo/Été 2009", "/volume1/photo/Summer");
    ExpectLikeRebuild();
    EXPECT_FALSE(RowOf("music", "/volume1/music/S/1/01 Öppning.mp3").empty());
}

TEST_P(WatchTree, NamesAreExchanged)
{
    SamplesCopy();
    WatchAndDaemon();
    FileMove("/volume1/music/Various", "/volume1/music/third");
    FileMove("/volume1/music/Sigur Öst", "/volume1/music/Various");
    FileMove("/volume1/music/third", "/volume1/music/Sigur Öst");
    FileMove("/volume1/photo/Été 2009/IMG_0001.jpg", "/volume1/photo/t.jpg");
    FileMove("/volume1/photo/Été 2009/IMG_0002.jpg", "/volume1/photo/Été 2009/IMG_0001.jpg");
    FileMove("/volume1/photo/t.jpg", "/volume1/photo/Été 2009/IMG_0002.jpg");
    ExpectLikeRebuild();
}

TEST_P(WatchTree, RenamesAcrossShares)
{
    SamplesCopy();
    WatchAndDaemon();
    FileMove("/volume1/music/Various", "/volume1/video/Various");
    FileMove("/volume1/photo/Été 2009/Scans", "/volume1/music/Scans");
    FileMove("/volume1/photo/Été 2009/IMG_0001.jpg", "/volume1/video/IMG_0001.jpg");
    FileMove("/volume1/video/Films", "/volume1/photo/Films");
    ExpectLikeRebuild();
}

TEST_P(WatchTree, DeletedAndMadeAgain)
{
    SamplesCopy();
    WatchAndDaemon();
    fs::remove_all("/volume1/music/Sigur Öst");
    fs::remove("/volume1/photo/Été 2009/IMG_0003.jpg");
    fs::remove("/volume1/music/Various/wave.wav");
    fs::remove_all("/volume1/photo/Été 2009/Scans");
    Settle();
    EXPECT_TRUE(RowOf("music", "/volume1/music/Various/wave.wav").empty());
    fs::remove_all("/volume1/music/Various");
    FileWrite("/volume1/music/Various/other.wav", "");
    FileWrite("/volume1/music/Sigur Öst/Första skivan", "now a file");
    fs::remove_all("/volume1/photo/Été 2009");
    TreeCopy(Sample("photo/Scans"), "/volume1/photo/Été 2009");
    ExpectLikeRebuild();
}

TEST_P(WatchTree, HardLinks)
{
    FileWrite("/volume1/video/a.srt", "1");
    FileWrite("/volume1/video/sub/other.srt", "1");
    fs::create_directories("/volume1/elsewhere");
    fs::create_hard_link("/volume1/video/a.srt", "/volume1/elsewhere/outside.srt");
    WatchAndDaemon();
    fs::create_hard_link("/volume1/video/a.srt", "/volume1/video/sub/b.srt");
    fs::create_hard_link("/volume1/video/sub/other.srt", "/volume1/video/other.srt");
    FileAppend("/volume1/video/sub/b.srt", "longer than before");
    fs::remove("/volume1/video/sub/other.srt");
    ExpectLikeRebuild();
    EXPECT_EQ(RowOf("video", "/volume1/video/a.srt")["filesize"], "19");
    EXPECT_EQ(RowOf("video", "/volume1/video/sub/b.srt")["filesize"], "19");
}

TEST_P(WatchTree, SymbolicLinks)
{
    FileWrite("/volume1/elsewhere/folder/a.srt", "1");
    FileWrite("/volume1/elsewhere/b.srt", "1");
    WatchAndDaemon();
    fs::create_symlink("/volume1/elsewhere/folder", "/volume1/video/folder");
    fs::create_symlink("../elsewhere/b.srt", "/volume1/video/b.srt");
    fs::create_symlink("/volume1/video", "/volume1/video/round");  // has no end
    Settle();
    EXPECT_FALSE(RowOf("video", "/volume1/video/folder/a.srt").empty());
    EXPECT_FALSE(RowOf("video", "/volume1/video/b.srt").empty());
    fs::remove("/volume1/video/round");
    FileWrite("/volume1/elsewhere/folder/new/c.srt", "1");
    FileAppend("/volume1/elsewhere/b.srt", "more");
    Settle();
    EXPECT_FALSE(RowOf("video", "/volume1/video/folder/new/c.srt").empty());
    EXPECT_EQ(RowOf("video", "/volume1/video/b.srt")["filesize"], "5");
    fs::remove("/volume1/video/folder");
    fs::remove("/volume1/elsewhere/b.srt");
    Settle();
    EXPECT_TRUE(RowOf("video", "/volume1/video/folder/new/c.srt").empty());
    EXPECT_TRUE(RowOf("video", "/volume1/video/b.srt").empty());
    FileWrite("/volume1/elsewhere/b.srt", "is back");
    ExpectLikeRebuild();
    EXPECT_EQ(RowOf("video", "/volume1/video/b.srt")["filesize"], "7");
}

TEST_P(WatchTree, AttributeFoldersAndTheRecycleBinAreNobodysBusiness)
{
    Watch();
    TreeCopy(Sample("music/Various"), "/volume1/music/@eaDir/Various");
    TreeCopy(Sample("music/Various"), "/volume1/music/#recycle/Various");
    TreeCopy(Sample("photo/Scans"), "/volume1/photo/a/@eaDir/Scans");
    fs::remove_all("/volume1/photo/a/@eaDir");
    FileWrite("/volume1/music/a/#recycle/b.m3u", "");  // an ordinary folder, so deep
    FileWrite("/volume1/music/a/readme.txt", "");
    for (const std::string &line : NewLines())
        EXPECT_TRUE(line == "A:/volume1/music/a" || line == "A:/volume1/photo/a") << line;
    Daemon();
    FileMove("/volume1/music/a/#recycle", "/volume1/music/#recycle/b");
    ExpectLikeRebuild();
}
