// Comparisons of real trees with real databases. Subtitles and playlists are the cheapest files of the media
// database; photos are a few bytes with a photo's name.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "common/paths.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"
#include "sync_box.h"

namespace fs = std::filesystem;

struct SyncTree : SyncBox {
    void SharesFill() const
    {
        for (const char *name : {"Band/Disc/1.srt", "Band/Disc/2.srt", "Band/list.m3u", "alone.srt"})
            WriteFile(Music(name), name);
        WriteFile(Video("Film/film.srt"), "text");
        for (const char *name : {"Trip/a.jpg", "Trip/Rome/b.jpg", "Trip/Rome/Day/c.jpg", "top.jpg"})
            WriteFile(Photo(name), name);
    }
};

// A time that has passed long ago, so that the next change shows.
static void Backdate(const std::string &path)
{
    struct timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST_F(SyncTree, NothingDiffersAfterARebuild)
{
    SharesFill();
    Rebuild();
    SyncReport report = Check();
    EXPECT_EQ(DifferenceText(*this, report), "");
    EXPECT_EQ(report.files, 9u);
    EXPECT_TRUE(report.complete);
    EXPECT_EQ(report.requests, 0u);
}

TEST_F(SyncTree, EmptyDatabaseIsFilledByAFewRequestsForFolders)
{
    SharesFill();
    EXPECT_EQ(DifferenceText(*this, Check()), "+ /music/ 7\n"
                                              "+ /photo/\n"
                                              "+ /photo/Trip/ 6\n"
                                              "+ /photo/top.jpg\n"
                                              "+ /video/ 3\n");
    ExpectMended();
}

TEST_F(SyncTree, CheckQueuesNothing)
{
    SharesFill();
    SyncReport report = Check();
    EXPECT_EQ(report.requests, 5u);
    EXPECT_EQ(QueueText(), "");
}

TEST_F(SyncTree, NewGoneAndChangedFilesAreQueuedOneByOne)
{
    SharesFill();
    Backdate(Music("alone.srt"));
    Rebuild();
    WriteFile(Music("Band/Disc/3.srt"), "new");
    fs::remove(Music("Band/Disc/1.srt"));
    WriteFile(Music("alone.srt"), "alone.srt");  // the same size
    WriteFile(Photo("Trip/a.jpg"), "another size");
    SyncReport report = Sync();
    EXPECT_EQ(DifferenceText(*this, report), "- /music/Band/Disc/1.srt\n"
                                             "+ /music/Band/Disc/3.srt\n"
                                             "~ /music/alone.srt\n"
                                             "~ /photo/Trip/a.jpg\n");
    EXPECT_EQ(QueueText(), "d:" + Music("Band/Disc/1.srt") + "\na:" + Music("Band/Disc/3.srt") +
                               "\na:" + Music("alone.srt") + "\na:" + Photo("Trip/a.jpg") + "\n");
    Batch();
    ExpectMended();
}

TEST_F(SyncTree, RenamesAreSeenAsGoneAndNew)
{
    SharesFill();
    Rebuild();
    fs::rename(Music("Band"), Music("Group"));
    fs::rename(Photo("Trip/Rome"), Photo("Rome"));
    fs::rename(Music("alone.srt"), Music("alone:renamed.srt"));
    EXPECT_EQ(DifferenceText(*this, Check()), "- /music/Band/ 5\n"
                                              "+ /music/Group/ 5\n"
                                              "- /music/alone.srt\n"
                                              "+ /music/alone:renamed.srt\n"
                                              "+ /photo/Rome/ 4\n"
                                              "- /photo/Trip/Rome/ 4\n");
    ExpectMended();
}

TEST_F(SyncTree, GoneFolderIsOneRequestAndItsNeighbourStays)
{
    SharesFill();
    WriteFile(Music("Band-2/x.srt"), "x");
    Rebuild();
    fs::remove_all(Music("Band"));
    EXPECT_EQ(DifferenceText(*this, Sync()), "- /music/Band/ 5\n");
    EXPECT_EQ(QueueText(), "D:" + Music("Band") + "\n");
    Batch();
    ExpectMended();
}

TEST_F(SyncTree, FolderThatIsNowAFileAndFileThatIsNowAFolder)
{
    SharesFill();
    WriteFile(Music("x.srt"), "x");
    Rebuild();
    fs::remove(Music("x.srt"));
    WriteFile(Music("x.srt/inside.srt"), "x");
    fs::remove_all(Music("Band"));
    WriteFile(Music("Band"), "no folder");
    ExpectMended();
}

TEST_F(SyncTree, PhotoThatIsNowAFolder)
{
    SharesFill();
    Rebuild();
    fs::remove(Photo("Trip/a.jpg"));
    WriteFile(Photo("Trip/a.jpg/inside.jpg"), "x");
    ExpectMended();
    EXPECT_FALSE(HasGalleryRow(Photo("Trip/a.jpg")));
}

TEST_F(SyncTree, FilesThatGetNoRowAreNeverQueued)
{
    for (const char *name :
         {"readme.txt", "noextension", "._companion.srt", "@eaDir/x.srt", "A/@eaDir/y.srt", ".srtx"})
        WriteFile(Music(name), "x");
    ASSERT_EQ(mkfifo(Music("pipe.m3u").c_str(), 0600), 0);
    fs::create_symlink("/nowhere/at/all.srt", Music("dangling.srt"));
    WriteFile(Photo("@eaDir/t.jpg"), "x");
    WriteFile(Photo("my@eaDirs/t.jpg"), "x");
    WriteFile(Photo(".hidden.jpg"), "x");
    WriteFile(Photo("empty.jpg"), "");
    WriteFile(Photo("huge.jpg"), "");
    fs::resize_file(Photo("huge.jpg"), 20 << 20);
    Rebuild();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncTree, PhotoOfTwentyMebibytesIsNoneAndOneByteLessIsOne)
{
    WriteFile(Photo("large.jpg"), "x");
    fs::resize_file(Photo("large.jpg"), (20 << 20) - 1);
    ExpectMended();
    EXPECT_TRUE(HasGalleryRow(Photo("large.jpg")));
    fs::resize_file(Photo("large.jpg"), 20 << 20);
    ExpectMended();
    EXPECT_FALSE(HasGalleryRow(Photo("large.jpg")));
}

TEST_F(SyncTree, EmptiedPhotoLeavesTheGallery)
{
    SharesFill();
    Rebuild();
    WriteFile(Photo("Trip/a.jpg"), "");
    ExpectMended();
    EXPECT_FALSE(HasGalleryRow(Photo("Trip/a.jpg")));
}

TEST_F(SyncTree, HiddenFoldersMayHaveGalleryRowsOrNone)
{
    WriteFile(Photo(".hidden/a.jpg"), "x");
    Requests("R:all\nA:" + volume + "/photo\n");
    EXPECT_TRUE(HasGalleryRow(Photo(".hidden/a.jpg")));
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    Rebuild();
    EXPECT_FALSE(HasGalleryRow(Photo(".hidden/a.jpg")));
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncTree, HiddenFoldersOfThePhotoShareBecomeNoAlbums)
{
    SharesFill();
    Rebuild();
    WriteFile(Photo(".Trash/a.jpg"), "x");
    WriteFile(Photo("Trip/.thumbs/b.jpg"), "x");
    WriteFile(Photo("New/.thumbs/Deep/c.jpg"), "x");
    EXPECT_EQ(DifferenceText(*this, Sync()), "+ /photo/.Trash/a.jpg\n"
                                             "+ /photo/New/ 3\n"
                                             "+ /photo/Trip/.thumbs/b.jpg\n");
    Batch();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    EXPECT_TRUE(HasMediaRow(MEDIA_KIND_PHOTO, Photo(".Trash/a.jpg")));
    EXPECT_FALSE(HasAlbum(".Trash"));
    EXPECT_FALSE(HasAlbum("Trip/.thumbs"));
    EXPECT_TRUE(HasAlbum("New"));
}

TEST_F(SyncTree, StaleRowOfAHiddenPhotoIsRefreshed)
{
    WriteFile(Photo(".hidden/a.jpg"), "x");
    Requests("R:all\nA:" + volume + "/photo\n");
    WriteFile(Photo(".hidden/a.jpg"), "longer");
    EXPECT_EQ(DifferenceText(*this, Sync()), "~ /photo/.hidden/a.jpg\n");
    Batch();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncTree, LostAlbumsAndLostGalleryRowsComeBack)
{
    SharesFill();
    Rebuild();
    ASSERT_GE(PhotoDBExec("delete from photo_share"), 0);
    ASSERT_GE(PhotoDBExec("delete from photo where name = 'a.jpg'"), 0);
    EXPECT_EQ(DifferenceText(*this, Check()), "+ /photo/Trip/\n+ /photo/Trip/Rome/\n+ /photo/Trip/a.jpg\n");
    ExpectMended();
    EXPECT_TRUE(HasAlbum("Trip/Rome"));
}

TEST_F(SyncTree, AlbumsOfVanishedFoldersGo)
{
    SharesFill();
    Rebuild();
    ASSERT_GE(
        PhotoDBExec("insert into photo_share values(90, 'Gone', '', '', 'false', 0, '', 'true', 'false', '1')"),
        0);
    ASSERT_GE(
        PhotoDBExec("insert into photo_share values(91, 'A/B/C', '', '', 'false', 0, '', 'true', 'true', '1')"),
        0);
    ExpectMended();
    EXPECT_FALSE(HasAlbum("Gone"));
    EXPECT_FALSE(HasAlbum("A/B/C"));
}

TEST_F(SyncTree, AlbumNamesTooLongForAPassAreLeftAlone)
{
    fs::create_directories(Photo(std::string(250, 'x') + "/" + std::string(250, 'y')));
    Rebuild();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    Rebuild();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncTree, BoxWithoutPhotosLeavesThePhotoDatabaseAlone)
{
    SharesFill();
    WriteFile(DEFAULT_SETTINGS_PATH, "supportphoto=\"no\"\n");
    Requests("R:all\n");
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncTree, NamesAreBytes)
{
    for (const char *name :
         {"caf\xe9.srt", "it's 100%_\\ \"so\".srt", "tab\there.srt", "d\xff\xfe/x.srt", "a:b.srt"})
        WriteFile(Music(name), "x");
    ExpectMended();
    fs::remove(Music("it's 100%_\\ \"so\".srt"));
    fs::remove_all(Music("d\xff\xfe"));
    fs::remove(Music("a:b.srt"));
    ExpectMended();
}

TEST_F(SyncTree, LineFeedsInNamesAreReachedThroughTheFolder)
{
    SharesFill();
    Rebuild();
    WriteFile(Music("Band/Disc/line\nfeed.srt"), "x");
    WriteFile(Photo("Trip/line\nfeed.jpg"), "x");
    WriteFile(Music("line\nfeed/x.srt"), "x");
    ExpectMended();
    EXPECT_TRUE(HasMediaRow(MEDIA_KIND_VIDEO, Music("Band/Disc/line\nfeed.srt")));
    fs::remove(Music("Band/Disc/line\nfeed.srt"));
    fs::remove(Photo("Trip/line\nfeed.jpg"));
    fs::remove_all(Music("line\nfeed"));
    ExpectMended();
    EXPECT_FALSE(HasGalleryRow(Photo("Trip/line\nfeed.jpg")));
}

TEST_F(SyncTree, LongestPathIsKnownAndALongerOneIsNone)
{
    std::string longest = MakeDeepFile(volume + "/music", 4095, ".srt");
    (void)MakeDeepFile(volume + "/video", 4096, ".srt");
    ExpectMended();
    EXPECT_TRUE(HasMediaRow(MEDIA_KIND_VIDEO, longest));
}

TEST_F(SyncTree, LinksAreFollowedAndCyclesEnd)
{
    SharesFill();
    fs::create_directories(Scratch("/elsewhere"));
    WriteFile(Scratch("/elsewhere/e.srt"), "x");
    fs::create_symlink(Scratch("/elsewhere"), Music("elsewhere"));
    fs::create_symlink("../alone.srt", Music("Band/link.srt"));
    fs::create_symlink("..", Music("Band/up"));
    fs::create_symlink("/", Video("root"));
    fs::remove(Video("root"));  // nobody's walk would end
    Rebuild();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    WriteFile(Scratch("/elsewhere/f.srt"), "x");
    fs::remove(Music("Band/Disc/1.srt"));
    SyncReport report = Sync();
    EXPECT_EQ(report.added, 1u);
    EXPECT_GT(report.removed, 10u);  // under each of its names
    Batch();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

struct SyncAbsent : SyncTree {
    void SetUp() override
    {
        SyncTree::SetUp();
        SharesFill();
        Rebuild();
    }
};

static const SyncOptions ALLOW_EMPTY = {{}, true, true};

TEST_F(SyncAbsent, ShareWithABrokenLinkKeepsItsRows)
{
    fs::rename(volume + "/music", volume + "/unmounted");
    SyncReport report = Sync({}, TOOL_FAILED);
    EXPECT_EQ(report.absent_shares, std::vector<std::string>{"music"});
    EXPECT_EQ(err, "nuboindex: share music is absent: " + volume + "/music: No such file or directory\n");
    EXPECT_FALSE(report.complete);
    EXPECT_EQ(QueueText(), "");
    (void)Sync(ALLOW_EMPTY);
    EXPECT_EQ(QueueText(), "D:" + volume + "/music\n");
    Batch();
    EXPECT_FALSE(HasMediaRow(MEDIA_KIND_VIDEO, Music("alone.srt")));
}

TEST_F(SyncAbsent, EmptyRootIsNotAnEmptyShare)
{
    fs::remove_all(volume + "/photo");
    MakeFolder(Photo("#recycle"));
    MakeFolder(Photo(".Trash"));
    SyncReport report = Sync({}, TOOL_FAILED);
    EXPECT_EQ(report.absent_shares, std::vector<std::string>{"photo"});
    EXPECT_EQ(report.removed, 0u);
    (void)Sync(ALLOW_EMPTY);
    Batch();
    EXPECT_FALSE(HasGalleryRow(Photo("top.jpg")));
    EXPECT_EQ(DifferenceText(*this, Check()), "");  // an empty share without rows is in order
}

TEST_F(SyncAbsent, OtherSharesAreComparedAllTheSame)
{
    fs::rename(volume + "/music", volume + "/unmounted");
    fs::remove(Video("Film/film.srt"));
    EXPECT_EQ(DifferenceText(*this, Check({}, TOOL_FAILED)), "- /video/Film/film.srt\n");
    EXPECT_EQ(DifferenceText(*this, Check({{"video"}})), "- /video/Film/film.srt\n");
}

TEST_F(SyncAbsent, FolderInsideAnAbsentShareKeepsItsRows)
{
    fs::remove_all(volume + "/music");
    (void)Sync({{Music("Band")}}, TOOL_FAILED);
    MakeFolder(volume + "/music");
    (void)Sync({{Music("Band")}}, TOOL_FAILED);
    EXPECT_EQ(QueueText(), "");
}

TEST_F(SyncAbsent, LostLinkIsReportedWhenThereAreRowsOfItsKind)
{
    MediaInfoRecord song = {};
    snprintf(song.path, sizeof song.path, "%s", Music("song.mp3").c_str());
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &song), 0);
    fs::remove(MUSIC_SHARE_LINK);
    EXPECT_EQ(Sync({}, TOOL_FAILED).absent_shares, std::vector<std::string>{"music"});
    EXPECT_EQ(QueueText(), "");
}

TEST_F(SyncAbsent, BoxThatNeverHadAShareIsComplete)
{
    Requests("T:music\n");
    fs::remove(MUSIC_SHARE_LINK);
    EXPECT_TRUE(Sync().complete);
    EXPECT_EQ(Sync({{"music"}}, TOOL_FAILED).absent_shares, std::vector<std::string>{"music"});
}

// A file system that is mounted covers the folder, which does not change meanwhile. A row from the future makes any
// folder such a one.
TEST_F(SyncAbsent, EmptyFolderOlderThanItsFilesLooksUnmounted)
{
    MakeFolder(Music("usb"));
    MediaInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", Music("usb/Deep/a.srt").c_str());
    snprintf(record.create_time, sizeof record.create_time, "2998-01-01 00:00:00");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_VIDEO, &record), 0);
    ASSERT_EQ(MediaInfoDBDirSave(Music("usb").c_str()), 0);
    SyncReport report = Sync({}, TOOL_FAILED);
    EXPECT_EQ(report.absent_folders, std::vector<std::string>{Music("usb")});
    EXPECT_EQ(report.removed, 0u);
    EXPECT_EQ(QueueText(), "");
    EXPECT_EQ(DifferenceText(*this, Sync(ALLOW_EMPTY)), "- /music/usb/Deep/\n");
}

TEST_F(SyncAbsent, FolderThatHoldsSomethingIsNoMountPoint)
{
    WriteFile(Music("usb/readme.txt"), "x");
    MediaInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", Music("usb/a.srt").c_str());
    snprintf(record.create_time, sizeof record.create_time, "2998-01-01 00:00:00");
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_VIDEO, &record), 0);
    EXPECT_EQ(Sync().removed, 1u);
}

TEST_F(SyncAbsent, EmptiedFolderLosesItsRows)
{
    fs::remove(Music("Band/Disc/1.srt"));
    fs::remove(Music("Band/Disc/2.srt"));
    ExpectMended();
    EXPECT_FALSE(HasMediaRow(MEDIA_KIND_VIDEO, Music("Band/Disc/1.srt")));
}

TEST_F(SyncAbsent, UnpluggedDiskBehindALinkKeepsItsRows)
{
    WriteFile(Scratch("/usb/Albums/x.srt"), "x");
    fs::create_symlink(Scratch("/usb"), Music("usb"));
    (void)Sync();
    Batch();
    fs::rename(Scratch("/usb"), Scratch("/unplugged"));
    SyncReport report = Sync({}, TOOL_FAILED);
    EXPECT_EQ(report.absent_folders, std::vector<std::string>{Music("usb")});
    EXPECT_EQ(QueueText(), "");
    EXPECT_EQ(Sync({{Music("usb/Albums")}}, TOOL_FAILED).absent_folders,
              std::vector<std::string>{Music("usb")});
    EXPECT_EQ(Sync(ALLOW_EMPTY).removed, 3u);
}

TEST_F(SyncAbsent, ShareInsideAnotherOneIsProtectedToo)
{
    MakeFolder(Music("Clips"));
    fs::remove(VIDEO_SHARE_LINK);
    fs::create_symlink(Music("Clips"), VIDEO_SHARE_LINK);
    WriteFile(Music("Clips/c.srt"), "x");
    (void)Sync();
    Batch();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    fs::remove_all(Music("Clips"));
    EXPECT_EQ(Sync({{"music"}}, TOOL_FAILED).absent_shares, std::vector<std::string>{"video"});
    MakeFolder(Music("Clips"));
    EXPECT_EQ(Sync({{"music"}}, TOOL_FAILED).absent_shares, std::vector<std::string>{"video"});
    EXPECT_EQ(QueueText(), "");
}
