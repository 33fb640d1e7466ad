// Only regular files are opened, and nothing else ever blocks.
#include "common/regular_file.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/scratch.h"

TEST(RegularFile, OpensFilesAndLinksToThem)
{
    std::string path = Scratch("/volume1/a.mp3");
    std::string link = Scratch("/volume1/link.mp3");
    WriteFile(path, "x");
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    for (const std::string &name : {path, link}) {
        EXPECT_TRUE(IsRegularFile(name.c_str()));
        FILE *file = RegularFileOpen(name.c_str());
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(fgetc(file), 'x');
        fclose(file);
    }
}

TEST(RegularFile, PipesDevicesFoldersAndNothingAreRefusedAtOnce)
{
    std::string pipe = Scratch("/volume1/pipe.mp3");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    const struct {
        std::string path;
        int reason;
    } cases[] = {
        {pipe, EINVAL}, {"/dev/zero", EINVAL}, {Scratch("/volume1"), EINVAL}, {"/nowhere/a.mp3", ENOENT}};
    for (const auto &c : cases) {
        EXPECT_FALSE(IsRegularFile(c.path.c_str()));
        EXPECT_EQ(RegularFileOpen(c.path.c_str()), nullptr) << c.path;
        EXPECT_EQ(errno, c.reason) << c.path;
    }
}

// Opening a device may do something by itself: a watchdog starts to run, a terminal becomes the daemon's own. A pipe
// stands in for it here.
TEST(RegularFile, NothingElseIsEvenOpened)
{
    std::string pipe = Scratch("/volume1/pipe.mp3");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, pipe.c_str(), IN_OPEN), 0);
    EXPECT_EQ(RegularFileOpen(pipe.c_str()), nullptr);
    char events[4096];
    EXPECT_EQ(read(watch, events, sizeof events), -1);
    EXPECT_EQ(errno, EAGAIN);
    close(watch);
}
