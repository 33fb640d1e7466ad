// Every wait is for something to happen; only the moments of the faults are left to chance.
#include "faults/faults.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <random>
#include <set>
#include <sstream>

#include "system/rows.h"

static constexpr char SETTINGS[] = "/etc/nubo/platform.conf";
static constexpr char NOTES[] = "/var/lib/nubo/missed";
static constexpr int FOLDERS = 8, FILES_A_FOLDER = 50;

void Ask(const std::string &what)
{
    int ask = open("/run/control/ask", O_RDWR | O_CLOEXEC);
    int answer = open("/run/control/answer", O_RDWR | O_CLOEXEC);
    std::string line = what + "\n", words(16, '\0');
    ASSERT_EQ(write(ask, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    ssize_t length = read(answer, words.data(), words.size());
    words.resize(length > 0 ? static_cast<size_t>(length) : 0);
    EXPECT_EQ(words, "done\n") << what;
    close(ask);
    close(answer);
}

bool OnServer()
{
    return FileRead(SETTINGS).find("database = host=") != std::string::npos;
}

static std::string settings_before;

void SettingsAdd(const std::string &lines)
{
    settings_before = FileRead(SETTINGS);
    FileWrite(SETTINGS, settings_before + lines);
}

void SettingsRestore()
{
    FileWrite(SETTINGS, settings_before);
}

Texts BatchLay()
{
    Texts lines = {"T:playlist"};
    for (int folder = 0; folder < FOLDERS; folder++) {
        std::string name = "/volume1/video/" + std::to_string(folder);
        for (int i = 0; i < FILES_A_FOLDER; i++)
            FileWrite(name + '/' + std::to_string(i) + ".srt", "");
        FileWrite(name + "/list.m3u", "a.mp3\n");
        FileCopy(Sample("music/Various/wave.wav"), name + "/wave.wav");
        lines.push_back("A:" + name);
        std::string album = "/volume1/photo/" + std::to_string(folder);
        FileWrite(album + "/a.jpg", "no picture");
        FileWrite(album + "/Sub/b.jpg", "no picture");
        lines.push_back("A:" + album);
    }
    lines.push_back("A:/volume1/video/gone");
    lines.push_back("D:/volume1/video/gone");
    FileWrite("/volume1/photo/moved/a.jpg", "no picture");
    lines.push_back("N:/volume1/photo/moved:/volume1/photo/never there");
    lines.push_back("A:/volume1/video/2");
    lines.push_back("R:photo");
    lines.push_back("A:/volume1/video/4/1.srt");
    return lines;
}

std::string RowsDump()
{
    std::string text = MediaDump();
    for (const auto &[table, order] : {std::pair{"photo", "path"}, {"photo_share", "sharename"}}) {
        for (const Row &row : PhotoRows(table, order)) {
            text += table;
            for (const auto &[column, value] : row) {
                if (column != "updated" && column != "shareid")
                    text += "|" + column + "=" + value;
            }
            text += '\n';
        }
    }
    return text;
}

static double batch_seconds = 0;

double BatchSeconds()
{
    return batch_seconds;
}

std::string UndisturbedRows(const Texts &lines)
{
    pid_t daemon = BatchBegin(lines);
    double begin = Clock();
    EXPECT_TRUE(SignalArrived(SIGUSR1, 100));
    batch_seconds = Clock() - begin;
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    std::string rows = RowsDump();
    EXPECT_GT(rows.size(), 50000u);
    DatabasesRemove();
    return rows;
}

pid_t BatchBegin(const Texts &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    BecomeMediaServer();
    (void)SignalArrived(SIGUSR1);  // of an earlier batch
    FileAppend(QUEUE, text);
    return DaemonStart();
}

void BatchEnd(pid_t daemon)
{
    EXPECT_TRUE(SignalArrived(SIGUSR1, 100)) << "the batch does not end";
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
}

bool WorkGoesOn()
{
    static constexpr int ROUNDS_MAX = 5;
    for (int round = 0; round < ROUNDS_MAX; round++) {
        Finished retry = ProgramRun({Built("bin/nuboindex"), "retry"});
        EXPECT_EQ(retry.status, 0) << retry.output;
        if (!Exists(QUEUE) && !Exists(WORK_FILE) && FileRead(NOTES).empty())
            return true;
        BatchEnd(BatchBegin({}));
    }
    ADD_FAILURE() << "the work does not end: " << FileRead(NOTES).substr(0, 500)
                  << FileRead(QUEUE).substr(0, 500) << testing::PrintToString(LibraryLog());
    return false;
}

static std::set<std::string> LinesOf(const std::string &text)
{
    std::set<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.insert(line);
    return lines;
}

static void DifferencesReport(const char *what, const std::set<std::string> &have,
                              const std::set<std::string> &wanted)
{
    static constexpr int SHOWN = 3;
    int count = 0;
    for (const std::string &line : have) {
        if (!wanted.contains(line) && count++ < SHOWN)
            ADD_FAILURE() << what << ": " << line;
    }
    EXPECT_EQ(count, 0) << what;
}

void ExpectRowsNow(const std::string &rows)
{
    std::set<std::string> now = LinesOf(RowsDump()), wanted = LinesOf(rows);
    DifferencesReport("too many", now, wanted);
    DifferencesReport("missing", wanted, now);
}

void ExpectNothingLost(const std::string &rows)
{
    EXPECT_TRUE(WorkGoesOn());
    ExpectRowsNow(rows);
}

Texts LibraryLog()
{
    Texts lines;
    for (const std::string &line : RawLog()) {
        for (const char *head : {" nubodb: ", " mediaindex: ", " photodb: ", " /etc/nubo/platform.conf: "}) {
            size_t at = line.find(head);
            if (at != line.npos)
                lines.push_back(line.substr(at + 1));
        }
    }
    return lines;
}

bool LogHas(const std::string &text)
{
    for (const std::string &line : LibraryLog()) {
        if (line.find(text) != line.npos)
            return true;
    }
    return false;
}

void Pause(double seconds_max)
{
    static std::mt19937 random(std::random_device{}());
    usleep(static_cast<useconds_t>(std::uniform_real_distribution<>(0, seconds_max * 1e6)(random)));
}
