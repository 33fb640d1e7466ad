// Requests to the sibling daemons.
#include "photo/job_queue.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>

#include <filesystem>

#include "common/features.h"
#include "photo/photo_test_support.h"

static const std::string CREATE_FLAGS = std::to_string(O_RDWR | O_SYNC | O_CREAT | O_EXCL | O_TRUNC);
static const std::string APPEND_FLAGS = std::to_string(O_RDWR | O_SYNC | O_APPEND);

class WriteQueue : public testing::Test
{
  protected:
    void SetUp() override
    {
        system_calls = {};
    }
};

TEST_F(WriteQueue, NullArgumentsAreRefused)
{
    EXPECT_EQ(WriteThumbQueue(nullptr, THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(WriteThumbQueue("/a", nullptr), -1);
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(WriteQueue, FirstRequestCreatesTheFileAndLaterOnesAreAppendedOnce)
{
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(WriteThumbQueue("/share/ab", THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(WriteThumbQueue("/share", THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "/share/a\n/share/ab\n/share\n");
    EXPECT_EQ(system_calls.opens, (Lines{CREATE_FLAGS, APPEND_FLAGS, APPEND_FLAGS}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(WriteQueue, FileModeIsWhatTheUmaskLeaves)
{
    mode_t previous = umask(0022);
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), 0);
    umask(previous);
    struct stat status;
    ASSERT_EQ(stat(THUMB_QUEUE_PATH, &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
}

TEST_F(WriteQueue, RequestsThatAreNoLineAreRefused)
{
    std::string fits(4095, 'p');
    std::string too_long(4096, 'p');
    EXPECT_EQ(WriteThumbQueue(fits.c_str(), THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(WriteThumbQueue(too_long.c_str(), THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(WriteThumbQueue("/a\n/etc", THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), fits + "\n");
    EXPECT_EQ(log_lines, (Lines{"job_queue (#) Not a queue line [" + too_long + "].",
                                "job_queue (#) Not a queue line [/a\n/etc]."}));
}

TEST_F(WriteQueue, OddNamesAreWrittenAsTheyAre)
{
    std::string expected;
    for (const std::string &name : OddNames()) {
        bool is_line = name.find('\n') == std::string::npos;
        EXPECT_EQ(WriteThumbQueue(name.c_str(), THUMB_QUEUE_PATH), is_line ? 0 : -1);
        if (is_line)
            expected += name + "\n";
    }
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), expected);
}

TEST_F(WriteQueue, FileThatAppearedMeanwhileDropsTheRequest)
{
    system_calls.open_errors = {EEXIST};
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(system_calls.opens.size(), 1u);
    EXPECT_EQ(LogLines(), Lines{std::string("(job_queue, #) open(") + THUMB_QUEUE_PATH + ", " + CREATE_FLAGS +
                                ") failed, reason=" + strerror(EEXIST) + "\n"});
}

TEST_F(WriteQueue, DeniedAccessIsTriedAgainAfterASecond)
{
    system_calls.open_errors = {EACCES, EACCES, 0};
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), 0);
    EXPECT_EQ(system_calls.sleeps, 2);
    EXPECT_EQ(log_lines.size(), 2u);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "/share/a\n");
}

TEST_F(WriteQueue, DeniedAccessEndsAfterSeventeenAttempts)
{
    system_calls.open_errors.assign(100, EACCES);
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(system_calls.opens.size(), 17u);
    EXPECT_EQ(system_calls.sleeps, 16);
    EXPECT_EQ(log_lines.size(), 17u);
}

TEST_F(WriteQueue, AnotherErrorEndsTheWaiting)
{
    system_calls.open_errors = {EACCES, ENOSPC};
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(system_calls.opens.size(), 2u);
    EXPECT_EQ(system_calls.sleeps, 1);
}

TEST_F(WriteQueue, FailedLockWritesNothing)
{
    system_calls.flock_error = ENOLCK;
    EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), -1);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "");
    EXPECT_EQ(LogLines(),
              Lines{std::string("job_queue: WriteThumbQueue(#) - failed to lock file descriptor of ") +
                    THUMB_QUEUE_PATH + ", reason=" + strerror(ENOLCK)});
}

TEST_F(WriteQueue, FailedWriteNamesTheRequestAndItsLength)
{
    static constexpr struct {
        int scripted;
        int reason;
    } cases[] = {
        {EIO, EIO}, {-1, ENOSPC},  // a short write
    };
    for (const auto &c : cases) {
        log_lines.clear();
        std::filesystem::remove(THUMB_QUEUE_PATH);
        system_calls.write_error = c.scripted;
        EXPECT_EQ(WriteThumbQueue("/share/a", THUMB_QUEUE_PATH), -1);
        EXPECT_EQ(LogLines(),
                  Lines{std::string("job_queue: WriteThumbQueue(#) - failed to write (/share/a, 8) into ") +
                        THUMB_QUEUE_PATH + ", reason=" + strerror(c.reason)});
    }
}

// A box with both daemons, a photo, a web video, another file and a folder.
class MediaConversion : public testing::Test
{
  protected:
    std::string folder = Scratch("/volume1/photo/a");
    std::string photo = folder + "/b.jpg";
    std::string video = folder + "/c.flv";
    std::string other = folder + "/d.avi";

    void SetUp() override
    {
        system_calls = {};
        supportphoto = 1;
        supportcinehall = 1;
        WriteFile(THUMB_DAEMON_PID_PATH, "4711\n");
        WriteFile(FLV_DAEMON_PID_PATH, "4712\n");
        for (const std::string &path : {photo, video, other})
            WriteFile(path, "x");
    }
};

TEST_F(MediaConversion, KindOfFileDecidesWhatIsQueued)
{
    const struct {
        std::string path;
        int bits;
        std::string thumb;
        std::string flv;
        Lines kills;
    } cases[] = {
        {photo, 3, folder + "\n", "", {"4711 10"}},
        {photo, 1, folder + "\n", "", {"4711 10"}},
        {photo, 2, "", "", {}},
        {video, 3, "", video + "\n", {"4712 10"}},
        {video, 1, "", "", {}},
        {other, 3, "", "", {}},
        {folder, 3, folder + "\n", folder + "\n", {"4712 10"}},  // one process id for both
        {folder, 1, folder + "\n", "", {"4711 10"}},
        {folder, 2, "", folder + "\n", {"4712 10"}},
        {folder, 0, "", "", {}},
        {folder + "/gone.jpg", 3, "", "", {}},
        {"/dev/null", 3, "", "", {}},  // neither a file nor a folder
    };
    for (const auto &c : cases) {
        system_calls = {};
        std::filesystem::remove(THUMB_QUEUE_PATH);
        std::filesystem::remove(FLV_QUEUE_PATH);
        QueueMediaConversion(c.path.c_str(), c.bits);
        EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), c.thumb) << c.path << c.bits;
        EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), c.flv) << c.path << c.bits;
        EXPECT_EQ(system_calls.kills, c.kills) << c.path << c.bits;
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(MediaConversion, FolderOfManyPhotosIsQueuedOnceAndSignalledEachTime)
{
    WriteFile(folder + "/e.jpg", "x");
    QueueMediaConversion(photo.c_str(), 3);
    QueueMediaConversion((folder + "/e.jpg").c_str(), 3);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), folder + "\n");
    EXPECT_EQ(system_calls.kills, (Lines{"4711 10", "4711 10"}));
}

TEST_F(MediaConversion, FeaturesDecideWhatIsQueued)
{
    supportcinehall = 0;
    QueueMediaConversion(folder.c_str(), 3);
    EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), "");
    EXPECT_EQ(system_calls.kills, Lines{"4711 10"});

    supportcinehall = 1;
    supportphoto = 0;
    std::filesystem::remove(THUMB_QUEUE_PATH);
    QueueMediaConversion(folder.c_str(), 3);
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "");
    EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), "");
}

TEST_F(MediaConversion, NullPathIsIgnored)
{
    QueueMediaConversion(nullptr, 3);
    EXPECT_EQ(system_calls.opens, Lines{});
}

TEST_F(MediaConversion, StoppedDaemonsGetNoRequests)
{
    std::filesystem::remove(THUMB_DAEMON_PID_PATH);
    WriteFile(FLV_DAEMON_PID_PATH, "0");
    QueueMediaConversion(folder.c_str(), 3);
    EXPECT_EQ(system_calls.opens, Lines{});
    EXPECT_EQ(system_calls.kills, Lines{});
    EXPECT_EQ(LogLines(), (Lines{"job_queue(#) Thumb daemon is not running .....\n",
                                 "job_queue(#) FLV daemon is not running .....\n"}));
}

TEST_F(MediaConversion, NonPositiveProcessIdIsNeverSignalled)
{
    for (const char *pid : {"", "0", "-1", "-4712", "none"}) {
        log_lines.clear();
        std::filesystem::remove(THUMB_QUEUE_PATH);
        WriteFile(FLV_DAEMON_PID_PATH, pid);
        QueueMediaConversion(folder.c_str(), 3);
        EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), folder + "\n") << pid;
        EXPECT_EQ(system_calls.kills, Lines{}) << pid;
        EXPECT_EQ(LogLines(), (Lines{"job_queue(#) FLV daemon is not running .....\n",
                                     "job_queue(#) Process id " + std::to_string(atoi(pid)) +
                                         " is no daemon, nobody is signalled.\n"}));
    }
}

TEST_F(MediaConversion, RequestThatCouldNotBeWrittenWakesNobody)
{
    system_calls.open_errors = {ENOSPC};
    QueueMediaConversion(photo.c_str(), 3);
    EXPECT_EQ(system_calls.kills, Lines{});
}
