// Disks that leave, queues that overflow, watchers that die: nothing is lost, and nothing is lost silently.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "watch_box.h"

namespace fs = std::filesystem;

struct WatchTrouble : WatchBox {
};
WATCH_TESTS(WatchTrouble);

static constexpr double PATIENCE = 120;

TEST_P(WatchTrouble, SharesDiskLeavesAndComesBack)
{
    if (!MemoryMount("/disk") || !FolderMount("/disk", "/volume1/music"))
        GTEST_SKIP() << "no right to mount";
    FileWrite("/volume1/music/a.m3u", "");
    WatchAndDaemon();
    Unmount("/volume1/music");
    FileWrite("/disk/b.m3u", "");
    EXPECT_TRUE(WaitUntil(PATIENCE, [] { return WatchStatus().find("absent: music") != std::string::npos; }))
        << WatchStatus();
    Settle();
    EXPECT_FALSE(RowOf("playlist", "/volume1/music/a.m3u").empty());
    ASSERT_TRUE(FolderMount("/disk", "/volume1/music"));
    FileWrite("/disk/c.m3u", "");
    EXPECT_TRUE(WaitUntil(PATIENCE, [] { return !RowOf("playlist", "/volume1/music/c.m3u").empty(); }));
    EXPECT_EQ(WatchStatus().find("absent"), std::string::npos);
    FileWrite("/volume1/music/d.m3u", "");
    ExpectLikeRebuild();
    EXPECT_EQ(Paths("playlist").size(), 4u);
}

TEST_P(WatchTrouble, DiskInsideAShare)
{
    FileWrite("/volume1/video/a.srt", "");
    WatchAndDaemon();
    if (!MemoryMount("/volume1/video/usb"))
        GTEST_SKIP() << "no right to mount";
    usleep(1100000);  // files that are newer than the folder on which their disk was mounted tell that it was
    FileWrite("/volume1/video/usb/folder/b.srt", "");
    Settle();
    FileMove("/volume1/video/usb/folder", "/volume1/video/usb/other");
    FileWrite("/volume1/video/usb/c.srt", "");
    Settle();
    EXPECT_FALSE(RowOf("video", "/volume1/video/usb/other/b.srt").empty());
    EXPECT_TRUE(RowOf("video", "/volume1/video/usb/folder/b.srt").empty());
    Unmount("/volume1/video/usb");
    Settle();
    EXPECT_FALSE(RowOf("video", "/volume1/video/usb/c.srt").empty());
}

TEST_P(WatchTrouble, DisksUnderOneNameOneAfterTheOther)
{
    if (!MemoryMount("/disk") || !MemoryMount("/other") || !FolderMount("/disk", "/volume1/video"))
        GTEST_SKIP() << "no right to mount";
    FileWrite("/disk/a.srt", "");
    FileWrite("/other/b.srt", "");
    WatchAndDaemon();
    Unmount("/volume1/video");
    ASSERT_TRUE(FolderMount("/other", "/volume1/video"));
    ExpectLikeRebuild();
    EXPECT_FALSE(RowOf("video", "/volume1/video/b.srt").empty());
    EXPECT_TRUE(RowOf("video", "/volume1/video/a.srt").empty());
}

TEST_P(WatchTrouble, LinkOfAShareLeadsElsewhere)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/music/a.m3u", "");
    FileWrite("/volume1/films/b.srt", "");
    WatchAndDaemon();
    fs::remove("/var/services/music");
    EXPECT_TRUE(WaitUntil(PATIENCE, [] { return WatchStatus().find("2 shares") != std::string::npos; }));
    Settle();
    EXPECT_FALSE(RowOf("playlist", "/volume1/music/a.m3u").empty());
    fs::create_symlink("/volume1/music", "/var/services/music");
    FileWrite("/volume1/music/b.m3u", "");
    ExpectLikeRebuild();
    EXPECT_EQ(Paths("playlist").size(), 2u);
}

// More events than the kernel keeps while the watcher cannot read them.
static void QueueOverflow()
{
    long most = 0;
    for (const char *kind : {"fanotify", "inotify"})
        most =
            std::max(most, atol(FileRead(std::string("/proc/sys/fs/") + kind + "/max_queued_events").c_str()));
    if (most > 200000)
        GTEST_SKIP() << "this machine keeps " << most << " events";
    for (long i = 0; i <= most; i++)
        FileWrite("/volume1/video/full/" + std::to_string(i) + ".txt", "");
}

TEST_P(WatchTrouble, OverflowIsShownAndRecoveredFrom)
{
    TreeCopy(Sample("music/Various"), "/volume1/music/Various");
    FileWrite("/volume1/video/moved/a.srt", "");
    WatchAndDaemon();
    ASSERT_EQ(kill(daemon, SIGSTOP), 0);
    FileWrite("/volume1/video/full/before.srt", "");
    ASSERT_TRUE(WaitUntil(PATIENCE, [] { return Exists(QUEUE); }));
    ASSERT_EQ(kill(watcher, SIGSTOP), 0);
    QueueOverflow();
    FileWrite("/volume1/video/missed.srt", "");
    FileMove("/volume1/video/moved", "/volume1/music/moved");
    fs::remove("/volume1/music/Various/wave.wav");
    ASSERT_EQ(kill(watcher, SIGCONT), 0);
    std::string overflow = "degraded: more happened at once than the kernel keeps";
    EXPECT_TRUE(WaitUntil(PATIENCE, [&] { return WatchStatus().find(overflow) != std::string::npos; }))
        << WatchStatus();
    ASSERT_EQ(kill(daemon, SIGCONT), 0);
    ExpectLikeRebuild();
    EXPECT_FALSE(RowOf("video", "/volume1/video/missed.srt").empty());
    EXPECT_FALSE(RowOf("video", "/volume1/music/moved/a.srt").empty());
}

TEST_P(WatchTrouble, KilledWatcherFindsWhatItMissed)
{
    TreeCopy(Sample("music/Various"), "/volume1/music/Various");
    TreeCopy(Sample("photo/Scans"), "/volume1/photo/Scans");
    WatchAndDaemon();
    EXPECT_EQ(WatchStatus().find("not running"), std::string::npos);
    FileWrite("/volume1/video/seen but not told.srt", "");
    EXPECT_TRUE(WIFSIGNALED(DaemonEnd(watcher, SIGKILL)));
    EXPECT_NE(WatchStatus().find("not running"), std::string::npos);
    FileWrite("/volume1/video/new.srt", "");
    FileMove("/volume1/music/Various", "/volume1/music/Other");
    fs::remove("/volume1/photo/Scans/scan.png");
    Watch();
    FileMove("/volume1/music/Other", "/volume1/music/Third");
    ExpectLikeRebuild();
    EXPECT_FALSE(RowOf("video", "/volume1/video/seen but not told.srt").empty());
}

TEST_P(WatchTrouble, EndedWatcherTellsWhatItKnows)
{
    Watch("3600");
    FileWrite("/volume1/video/a.srt", "");
    EXPECT_EQ(DaemonEnd(watcher, SIGTERM), 0);
    watcher = 0;
    EXPECT_EQ(NewLines(), Texts({"a:/volume1/video/a.srt"}));
    EXPECT_NE(WatchStatus().find("not running"), std::string::npos);
}

TEST_P(WatchTrouble, SecondWatcherIsRefused)
{
    Watch();
    Finished second = ProgramRun({Built("bin/nuboindex"), "watch", "--inotify"});
    EXPECT_EQ(WEXITSTATUS(second.status), 1);
    EXPECT_NE(second.output.find("another watcher is running"), std::string::npos) << second.output;
}

TEST_P(WatchTrouble, NoDaemonNoHurry)
{
    Watch();
    FileWrite("/volume1/video/a.srt", "");
    EXPECT_EQ(NewLines(), Texts({"a:/volume1/video/a.srt"}));
    Daemon();
    ExpectLikeRebuild();
}
