#include "watch_box.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/fanotify.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

static constexpr char STATE_FILE[] = "/var/run/nuboindex-watch.state";
static constexpr char LOG_FILE[] = "/tmp/watch.log";
static constexpr char QUICK_DAEMON[] = "nuboindexd-quick";
static constexpr double PATIENCE = 120;  // seconds, on a machine with much else to do

// What the watcher needs of the kernel, asked for here in the shortest way.
static bool IsFanotifyAllowed()
{
    int queue = fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME | FAN_CLOEXEC, O_RDONLY);
    bool is_allowed = queue >= 0 && fanotify_mark(queue, FAN_MARK_ADD | FAN_MARK_FILESYSTEM,
                                                  FAN_RENAME | FAN_ONDIR, AT_FDCWD, "/volume1") == 0;
    if (queue >= 0)
        close(queue);
    alignas(file_handle) char space[sizeof(file_handle) + MAX_HANDLE_SZ];
    file_handle *handle = reinterpret_cast<file_handle *>(space);
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount_id = 0;
    int folder = open("/volume1", O_RDONLY | O_CLOEXEC);
    int again = -1;
    if (is_allowed && name_to_handle_at(folder, "", handle, &mount_id, AT_EMPTY_PATH) == 0)
        again = open_by_handle_at(folder, handle, O_PATH | O_CLOEXEC);
    is_allowed = again >= 0;
    close(again);
    close(folder);
    return is_allowed;
}

void WatchBox::SetUp()
{
    if (GetParam() == std::string("fanotify") && !IsFanotifyAllowed())
        GTEST_SKIP() << "this machine lets no test watch a whole file system: only inotify is tested";
}

void WatchBox::TearDown()
{
    if (HasFailure())
        std::cout << WatchLogText();
    for (pid_t pid : {watcher, daemon}) {
        if (pid > 0)
            (void)DaemonEnd(pid, SIGKILL);
    }
}

bool WatcherIsIdle()
{
    std::string state = FileRead(STATE_FILE);
    return state.find("notify\n") != state.npos && state.ends_with("end\n") &&
           state.find("\nworking ") == state.npos && state.find("\ndegraded ") == state.npos;
}

void WatchBox::Watch(const std::string &quiet)
{
    unlink(STATE_FILE);
    Texts command = {Built("bin/nuboindex"), "watch", "--verbose"};
    if (!quiet.empty())
        command.insert(command.end(), {std::string("--") + GetParam(), "--quiet-time", quiet});
    watcher = ProgramStart(command, LOG_FILE);
    ASSERT_TRUE(WaitUntil(PATIENCE, [] {
        std::string state = FileRead(STATE_FILE);
        return state.find("notify\n") != state.npos && state.find("\ndegraded ") == state.npos;
    })) << WatchLogText();
    queued_before = FileRead(QUEUE);
}

void WatchBox::Daemon()
{
    daemon = DaemonStart({}, QUICK_DAEMON);
    ASSERT_GT(daemon, 0);
}

void WatchBox::WatchAndDaemon()
{
    ASSERT_NO_FATAL_FAILURE(Daemon());
    ASSERT_NO_FATAL_FAILURE(Watch());
    ASSERT_NO_FATAL_FAILURE(Settle());
}

// Events come in the order in which things happen, so when the last file has its row all before it was seen.
void WatchBox::Settle()
{
    static int number = 0;
    std::string last = "/volume1/video/last " + std::to_string(++number) + ".srt";
    FileWrite(last, "");
    auto is_settled = [&] {
        return !RowOf("video", last).empty() && WatcherIsIdle() && !Exists(QUEUE) && !Exists(WORK_FILE);
    };
    ASSERT_TRUE(WaitUntil(PATIENCE, is_settled)) << FileRead(STATE_FILE) << FileRead(QUEUE);
}

// Change times of photos are those from before a rename.
static std::string Dump()
{
    std::string text = MediaDump();
    for (const auto &[table, order] : {std::pair("photo", "path"), std::pair("photo_share", "sharename")}) {
        for (const Row &row : PhotoRows(table, order)) {
            text += std::string("gallery ") + table;
            for (const auto &[column, value] : row)
                if (column != "id" && column != "shareid" && column != "updated" && column != "create_time")
                    text += "|" + column + "=" + value;
            text += '\n';
        }
    }
    return text;
}

static Texts LinesOf(const std::string &text)
{
    Texts lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

static std::string Difference(const std::string &watched, const std::string &rebuilt)
{
    Texts one = LinesOf(watched), other = LinesOf(rebuilt), only;
    std::sort(one.begin(), one.end());
    std::sort(other.begin(), other.end());
    std::string text;
    std::set_difference(one.begin(), one.end(), other.begin(), other.end(), std::back_inserter(only));
    for (const std::string &line : only)
        text += "watched only: " + line + '\n';
    only.clear();
    std::set_difference(other.begin(), other.end(), one.begin(), one.end(), std::back_inserter(only));
    for (const std::string &line : only)
        text += "rebuilt only: " + line + '\n';
    return text;
}

void WatchBox::ExpectLikeRebuild()
{
    ASSERT_NO_FATAL_FAILURE(Settle());
    EXPECT_EQ(DaemonEnd(watcher, SIGTERM), 0);
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    watcher = daemon = 0;
    std::string watched = Dump();
    DatabasesRemove();
    Index({"R:all", "R:photo"}, {}, QUICK_DAEMON);
    EXPECT_EQ(Difference(watched, Dump()), "");
}

std::string WatchLogText()
{
    return FileRead(LOG_FILE);
}

std::string WatchStatus()
{
    std::string text = ProgramRun({Built("bin/nuboindex"), "status"}).output;
    size_t begin = text.find("watch ");
    return begin == text.npos ? text : text.substr(begin, text.find('\n', begin) - begin);
}

Texts WatchBox::NewLines() const
{
    static constexpr double NO_MORE = 1.2;
    std::string text = queued_before;
    EXPECT_TRUE(WaitUntil(PATIENCE, [&] { return FileRead(QUEUE) != text; }));
    double since = Clock();
    EXPECT_TRUE(WaitUntil(PATIENCE, [&] {
        std::string now = FileRead(QUEUE);
        if (now != text)
            since = Clock();
        text = now;
        return Clock() - since > NO_MORE;
    }));
    return LinesOf(text.substr(queued_before.size()));
}

void FileMove(const std::string &from, const std::string &to)
{
    fs::rename(from, to);
}

void TreeCopy(const std::string &from, const std::string &to)
{
    fs::create_directories(fs::path(to).parent_path());
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

static bool MountDone(int result, const std::string &place)
{
    if (result == 0)
        return true;
    std::cout << "cannot mount on " << place << ": " << strerror(errno) << '\n';
    return false;
}

bool MemoryMount(const std::string &place)
{
    fs::create_directories(place);
    return MountDone(mount("none", place.c_str(), "tmpfs", 0, nullptr), place);
}

bool FolderMount(const std::string &folder, const std::string &place)
{
    return MountDone(mount(folder.c_str(), place.c_str(), nullptr, MS_BIND, nullptr), place);
}

// Whoever just looks into it keeps it busy for a moment.
void Unmount(const std::string &place)
{
    EXPECT_TRUE(WaitUntil(20, [&] { return umount(place.c_str()) == 0; })) << place << ": " << strerror(errno);
}
