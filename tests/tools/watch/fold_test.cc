// Much that happens becomes few requests, none of them too early.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "watch_box.h"

namespace fs = std::filesystem;

struct WatchFold : WatchBox {
};
WATCH_TESTS(WatchFold);

TEST_P(WatchFold, ManyFilesAtOnceBecomeFolders)
{
    static constexpr int FOLDERS = 4, FILES = 5000;
    FileWrite("/volume1/video/old/0.srt", "");
    Watch();
    for (int folder = 0; folder < FOLDERS; folder++) {
        std::string place = "/volume1/video/" + std::string(folder == 0 ? "old" : std::to_string(folder));
        for (int i = 0; i < FILES; i++)
            FileWrite(place + '/' + std::to_string(i) + ".srt", "");
    }
    Texts lines = NewLines();
    EXPECT_LE(lines.size(),
              3u * FOLDERS);  // a folder that is still filled after half a minute is told in parts
    Daemon();
    ExpectLikeRebuild();
    EXPECT_EQ(RowOf("video", "/volume1/video/3/4999.srt").count("path"), 1u);
}

TEST_P(WatchFold, FileWrittenFiveTimesIsOneRequest)
{
    FileWrite("/volume1/video/a.srt", "");
    Watch("0.5");
    for (int i = 0; i < 5; i++) {
        FileAppend("/volume1/video/a.srt", "more");
        usleep(50000);
    }
    EXPECT_EQ(NewLines(), Texts({"a:/volume1/video/a.srt"}));
}

TEST_P(WatchFold, FileThatCameAndWentLeavesNoAdd)
{
    Watch("0.5");
    FileWrite("/volume1/video/a.srt", "");
    fs::remove("/volume1/video/a.srt");
    FileWrite("/volume1/video/b.srt", "");
    for (const std::string &line : NewLines())
        EXPECT_NE(line[0] == 'a' ? line : "", "a:/volume1/video/a.srt");
}

TEST_P(WatchFold, RenameIsOneRequest)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/video/folder/a.srt", "");
    Watch();
    FileMove("/volume1/video/a.srt", "/volume1/video/b.srt");
    FileMove("/volume1/video/folder", "/volume1/video/other");
    EXPECT_EQ(NewLines(), Texts({"N:/volume1/video/b.srt:/volume1/video/a.srt",
                                 "N:/volume1/video/other:/volume1/video/folder"}));
}

// A download that takes long, and one that pauses for ever with its file open.
TEST_P(WatchFold, GrowingFileIsToldOnceItIsClosed)
{
    Watch();
    int fd = open("/volume1/video/film.srt", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    for (double end = Clock() + 3; Clock() < end; usleep(20000)) {
        ASSERT_EQ(write(fd, "0123456789", 10), 10);
        EXPECT_EQ(FileRead(QUEUE), queued_before);
    }
    close(fd);
    EXPECT_EQ(NewLines(), Texts({"a:/volume1/video/film.srt"}));
}

TEST_P(WatchFold, FileThatNobodyClosesIsToldWhenItsSizeHasSettled)
{
    Watch();
    int fd = open("/volume1/video/film.srt", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(write(fd, "0123456789", 10), 10);
    EXPECT_EQ(NewLines(), Texts({"a:/volume1/video/film.srt"}));
    ASSERT_EQ(write(fd, "0123456789", 10), 10);
    close(fd);
    Daemon();
    ExpectLikeRebuild();
    EXPECT_EQ(RowOf("video", "/volume1/video/film.srt")["filesize"], "20");
}
