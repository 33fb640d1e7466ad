// The watcher's small parts: what it says about itself, the lines it can write, the table of mounts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "common/paths.h"
#include "support/scratch.h"
#include "tool_run.h"
#include "watch/lines.h"
#include "watch/mount_table.h"
#include "watch/watch_state.h"

static int StateOpen()
{
    std::string reason;
    WriteFile(WATCH_STATE_PATH, "");
    int descriptor = WatchStateOpen(reason);
    EXPECT_GE(descriptor, 0) << reason;
    return descriptor;
}

TEST(WatchState, IsWhatWasWritten)
{
    int descriptor = StateOpen();
    WatchState state;
    EXPECT_EQ(WatchStateText(), "starting");
    state.pid = 7;
    state.source = "fanotify";
    state.shares = {"music", "photo"};
    EXPECT_TRUE(WatchStateWrite(descriptor, state));
    EXPECT_EQ(WatchStateText(), "watching 2 shares (fanotify)");
    state.is_working = true;
    state.absent = {"video"};
    EXPECT_TRUE(WatchStateWrite(descriptor, state));
    EXPECT_EQ(WatchStateText(), "watching 2 shares (fanotify), changes are on their way; absent: video");
    state.degraded = "it has\njust started\nlimit none";
    state.limit = "too few";
    EXPECT_TRUE(WatchStateWrite(descriptor, state));
    EXPECT_EQ(WatchStateText(), "degraded: it has\\x0ajust started\\x0alimit none; absent: video; too few");
    Json json = WatchStateJson();
    EXPECT_EQ(json["pid"], 7);
    EXPECT_EQ(json["working"], true);
    EXPECT_EQ(json["shares"], Json({"music", "photo"}));
    state = {7, "inotify", {"music"}, {}, false, "", ""};  // shorter than before
    EXPECT_TRUE(WatchStateWrite(descriptor, state));
    EXPECT_EQ(WatchStateText(), "watching 1 share (inotify)");
    EXPECT_EQ(WatchStateJson()["degraded"], nullptr);
    close(descriptor);
}

TEST(WatchState, FileOfAKilledWatcherIsNotBelieved)
{
    int descriptor = StateOpen();
    EXPECT_TRUE(WatchStateWrite(descriptor, {7, "inotify", {"music"}, {}, false, "", ""}));
    close(descriptor);  // as the kernel does it
    EXPECT_EQ(WatchStateText(), "not running");
    EXPECT_EQ(WatchStateJson(), nullptr);
    (void)unlink(WATCH_STATE_PATH);
    EXPECT_EQ(WatchStateText(), "not running");
}

TEST(WatchState, SecondWatcherIsRefused)
{
    int descriptor = StateOpen();
    std::string reason;
    EXPECT_EQ(WatchStateOpen(reason), -1);
    EXPECT_EQ(reason, "another watcher is running");
    close(descriptor);
}

TEST(WatchLines, RenameThatTheDaemonCannotBeToldOfAsOne)
{
    static const struct {
        const char *new_path, *old_path;
        bool is_folder, is_told;
    } cases[] = {
        {"/volume1/music/b.mp3", "/volume1/music/a.mp3", false, true},
        {"/volume1/music/b:.mp3", "/volume1/music/a.mp3", false, false},  // the daemon parts at colons
        {"/volume1/music/b.mp3", "/volume1/music/a:.mp3", false, false},
        {"/volume1/photo/b.jpg", "/volume1/music/b.jpg", false,
         false},  // the photo database is told of one end only
        {"/volume1/music/b.jpg", "/volume1/photo/b.jpg", false, false},
        {"/volume1/photo/a/b", "/volume1/photo/b", true, true},
        {"/volume1/photo/a/b/c", "/volume1/photo/c", true, false},  // an album goes where none are
        {"/volume1/photo/c", "/volume1/photo/a/b/c", true, true},
        {"/volume1/music/\n", "/volume1/music/a", true, false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(IsRenameTold({c.new_path, c.old_path, c.is_folder}), c.is_told) << c.new_path;
}

TEST(WatchLines, LineOrReason)
{
    std::string reason;
    EXPECT_EQ(WatchLine({'N', "/b", "/a"}, reason), "N:/b:/a\n");
    EXPECT_EQ(WatchLine({'a', "/a b", ""}, reason), "a:/a b\n");
    EXPECT_EQ(WatchLine({'a', "/a\nb", ""}, reason), std::nullopt);
    EXPECT_NE(reason, "");
}

TEST(WatchMounts, PlacesBelowAFolder)
{
    std::vector<std::string> places = MountsBelow("/");
    EXPECT_NE(std::find(places.begin(), places.end(), "/proc"), places.end());
    EXPECT_EQ(std::find(places.begin(), places.end(), ""), places.end());
    places = MountsBelow("/pro");  // the beginning of a name is no folder
    EXPECT_EQ(std::find(places.begin(), places.end(), "/proc"), places.end());
    EXPECT_NE(PlaceIdentity("/proc"), PlaceIdentity("/"));
    EXPECT_EQ(PlaceIdentity("/"), PlaceIdentity("/."));
    EXPECT_EQ(PlaceIdentity("/never there"), "");
}

TEST(WatchMounts, TableThatChangedAndIsTheSameMeansARemount)
{
    MountTable table;
    MountTableOpen(table);
    ASSERT_GE(table.descriptor, 0);
    table.text += "another mount\n";
    MountTableLook(table);
    EXPECT_EQ(table.remounts, 0u);
    MountTableLook(table);
    EXPECT_EQ(table.remounts, 1u);
    close(table.descriptor);
}
