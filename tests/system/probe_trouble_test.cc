// Files that must not take the daemon down: what the probe's guard does with them, and that the next request is
// executed as if nothing had been.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "system/box.h"
#include "system/foreign_files.h"
#include "system/rows.h"

static constexpr char EVENT_LOG[] = "/var/lib/nubo/event.log";

// The log with process numbers replaced.
static Texts LogWithoutPids()
{
    Texts lines = Log();
    for (std::string &line : lines)
        line = std::regex_replace(line, std::regex("Process [0-9]+"), "Process #");
    return lines;
}

// Only the defaults stand in the row, and the user is told about the file.
static void ExpectListedUnread(const std::string &table, const std::string &path, const std::string &title)
{
    Row row = RowOf(table, path);
    ASSERT_FALSE(row.empty());
    EXPECT_EQ(row["title"], title);
    EXPECT_EQ(row["duration"], "0.0");
    EXPECT_EQ(row["bitrate"], "0");
    EXPECT_NE(FileRead(EVENT_LOG).find("\t2\t3\t0x11B00510\t" + path + "\t"), std::string::npos);
}

static void ExpectNextFileRead()
{
    EXPECT_EQ(RowOf("music", "/volume1/music/wave.wav")["bitrate"], "1411200");
}

TEST(ProbeTrouble, FileThatHangsTheReaderIsGivenUp)
{
    EndlessMatroskaWrite("/volume1/video/endless.mkv");
    FileCopy(Sample("music/Various/wave.wav"), "/volume1/music/wave.wav");
    double start = Clock();
    Index({"a:/volume1/video/endless.mkv", "a:/volume1/music/wave.wav"}, {}, "nuboindexd-shortlimits");
    EXPECT_GE(Clock() - start, 0.5);
    ExpectListedUnread("video", "/volume1/video/endless.mkv", "endless");
    ExpectNextFileRead();
    EXPECT_EQ(
        LogWithoutPids(),
        Texts({"probe_watchdog:# Process # exceeded max loop count: 51, sec: 0, nsec: 10000000.",
               "media_handlers (#) Failed to parse media metadata from file [/volume1/video/endless.mkv].",
               "index_file:# Failed to parse media metadata of file [/volume1/video/endless.mkv]."}));
}

TEST(ProbeTrouble, FileThatEatsMemoryIsGivenUp)
{
    GreedyMp4Write("/volume1/video/greedy.mp4");
    FileCopy(Sample("music/Various/wave.wav"), "/volume1/music/wave.wav");
    Index({"a:/volume1/video/greedy.mp4", "a:/volume1/music/wave.wav"});
    ExpectListedUnread("video", "/volume1/video/greedy.mp4", "greedy");
    ExpectNextFileRead();
    EXPECT_EQ(LogWithoutPids(),
              Texts({"probe_watchdog:# Process # exceeded max memory usage.",
                     "media_handlers (#) Failed to parse media metadata from file [/volume1/video/greedy.mp4].",
                     "index_file:# Failed to parse media metadata of file [/volume1/video/greedy.mp4]."}));
}

// A limit of processor time that the daemon itself never reaches ends the child by a signal of the system's.
TEST(ProbeTrouble, ChildEndedByASignalIsReported)
{
    EndlessMatroskaWrite("/volume1/video/endless.mkv");
    FileCopy(Sample("music/Various/wave.wav"), "/volume1/music/wave.wav");
    BecomeMediaServer();
    FileWrite(QUEUE, "a:/volume1/video/endless.mkv\na:/volume1/music/wave.wav\n");
    Finished front = ProgramRun({"sh", "-c", "ulimit -S -t 2 && exec " + Built("bin/nuboindexd")});
    EXPECT_EQ(front.status, 0);
    EXPECT_TRUE(BatchesWait());
    ExpectListedUnread("video", "/volume1/video/endless.mkv", "endless");
    ExpectNextFileRead();
    Texts log = LogWithoutPids();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "probe_watchdog:# Process # killed by signal " + std::to_string(SIGXCPU));
}

TEST(ProbeTrouble, TerminationInAProbeEndsDaemonAndLeavesNoRow)
{
    EndlessMatroskaWrite("/volume1/video/endless.mkv");
    FileWrite(QUEUE, "a:/volume1/video/endless.mkv\n");
    pid_t pid = DaemonStart();
    usleep(500000);
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
    EXPECT_TRUE(Exists(WORK_FILE));
    EXPECT_EQ(Paths("video"), Texts());
}

TEST(ProbeTrouble, UnreadableWmaIsListedWithItsDefaults)
{
    FileWrite("/volume1/music/Album/noise.wma", "This is a letter.");
    Index({"a:/volume1/music/Album/noise.wma"});
    ExpectListedUnread("music", "/volume1/music/Album/noise.wma", "noise");
    EXPECT_EQ(RowOf("music", "/volume1/music/Album/noise.wma")["album"], "Album");
    EXPECT_EQ(
        LogWithoutPids(),
        Texts({"probe_parse (#) Failed to av_open_input_file() file [/volume1/music/Album/noise.wma].",
               "probe (#) Failed to get Misc Media Info from [/volume1/music/Album/noise.wma].",
               "media_handlers:# Failed to parse music metadata from file [/volume1/music/Album/noise.wma].",
               "index_file:# Failed to parse media metadata of file [/volume1/music/Album/noise.wma]."}));
}

// A folder with a media file's name is a folder; a pipe is an existing file of no size, and must block nobody.
TEST(ProbeTrouble, PipesDoNotBlockTheBatch)
{
    ASSERT_EQ(mkfifo("/volume1/music/pipe.ogg", 0644), 0);
    FileCopy(Sample("music/Various/wave.wav"), "/volume1/music/wave.wav");
    Index({"A:/volume1/music"}, {}, "nuboindexd-shortlimits");
    ExpectNextFileRead();
}
