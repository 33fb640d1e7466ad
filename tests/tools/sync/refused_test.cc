// Files that the daemon cannot read or does not like: they must not be queued again at every comparison.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

#include "index/handler_table.h"
#include "support/scratch.h"
#include "sync_box.h"

namespace fs = std::filesystem;

struct SyncRefused : SyncBox {
    // A comparison after the batch has nothing to do, and a rebuild would make the same rows.
    void ExpectSettled()
    {
        (void)Sync();
        Batch();
        EXPECT_EQ(DifferenceText(*this, Sync()), "");
        EXPECT_EQ(QueueText(), "");
        ExpectMended();
    }
};

TEST_F(SyncRefused, FilesOfEveryExtensionWithoutAnyContentsOfTheirFormat)
{
    for (const IndexHandler *handler = IndexHandlerTable; handler->ext; handler++) {
        const std::string ext = handler->ext;
        WriteFile(Music("garbage." + ext), "no format whatever");
        WriteFile(Photo("Trip/garbage." + ext), "no format whatever");
        WriteFile(Video("empty." + ext), "");
        WriteFile(Photo("empty." + ext), "");
        WriteFile(Video("." + ext), "a name that is all extension");
        WriteFile(Photo(".hidden." + ext), "hidden");
    }
    ExpectSettled();
}

TEST_F(SyncRefused, NamesThatAreNoRegularFiles)
{
    for (const IndexHandler *handler = IndexHandlerTable; handler->ext; handler++) {
        const std::string ext = handler->ext;
        ASSERT_EQ(mkfifo(Music("pipe." + ext).c_str(), 0600), 0);
        ASSERT_EQ(mkfifo(Photo("pipe." + ext).c_str(), 0600), 0);
        fs::create_symlink("/dev/null", Music("device." + ext));
        fs::create_symlink("self." + ext, Music("self." + ext));
        fs::create_symlink("nowhere." + ext, Photo("nowhere." + ext));
        MakeFolder(Video("folder." + ext));
    }
    ExpectSettled();
}

static void TimesSet(const std::string &path, time_t when)
{
    struct timespec times[2] = {{when, 0}, {when, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

// The file system of shared memory keeps times of any year; others cut them.
TEST_F(SyncRefused, TimesBefore1970AndFarInTheFuture)
{
    std::string wide = "/dev/shm" + volume;
    fs::create_directories(wide);
    fs::create_symlink(wide, Music("wide"));
    fs::create_symlink(wide, Photo("wide"));
    const time_t times[] = {-100000000000, -62135596801, -1,           0,
                            4294967296,    253402300799, 253402300800, 99999999999999};
    for (const char *ext :
         {"mp3", "m4a", "flac", "aiff", "aac", "ogg", "mpg", "dat", "mkv", "srt", "m3u", "jpg", "png"}) {
        for (size_t i = 0; i < std::size(times); i++) {
            std::string name = std::to_string(i) + "." + ext;
            for (const std::string &path : {wide + "/" + name, Music(name), Photo(name)}) {
                WriteFile(path, "x");
                TimesSet(path, times[i]);
            }
        }
    }
    ExpectSettled();
    for (const auto &entry : fs::directory_iterator(wide))
        TimesSet(entry.path(), 1000000000);
    ExpectSettled();
    fs::remove_all(wide);
}
