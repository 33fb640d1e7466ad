// Processes, signals and the log.
#include "system/box.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

static constexpr char LOG_FILE[] = "/var/log/messages";

bool Exists(const std::string &path)
{
    std::error_code ignored;
    return fs::exists(path, ignored);
}

std::string Built(std::string_view name)
{
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / name;
}

std::string Sample(std::string_view name)
{
    return std::string(NUBO_SAMPLES) + '/' + std::string(name);
}

static void FolderAbove(const std::string &path)
{
    fs::create_directories(fs::path(path).parent_path());
}

void FileWrite(const std::string &path, std::string_view content)
{
    FolderAbove(path);
    std::ofstream(path, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
}

void FileAppend(const std::string &path, std::string_view content)
{
    int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << path;
    EXPECT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(fd);
}

std::string FileRead(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void FileCopy(const std::string &from, const std::string &to)
{
    FolderAbove(to);
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

double Clock()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

template <typename Condition>
static bool WaitFor(double seconds, Condition condition)
{
    for (double end = Clock() + seconds; !condition();) {
        if (Clock() > end)
            return false;
        usleep(1000);
    }
    return true;
}

static std::vector<char *> Pointers(Texts &texts)
{
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Signals that this process waits for are blocked in it; the program starts with none blocked.
static pid_t Spawn(Texts command, const Texts &environment, int output)
{
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);

    Texts variables = environment;
    for (char **variable = environ; *variable; variable++)
        variables.push_back(*variable);
    std::vector<char *> arguments = Pointers(command);
    std::vector<char *> variable_pointers = Pointers(variables);
    pid_t pid = -1;
    int error =
        posix_spawnp(&pid, arguments[0], &actions, &attributes, arguments.data(), variable_pointers.data());
    EXPECT_EQ(error, 0) << command[0];
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error == 0 ? pid : -1;
}

pid_t ProgramStart(const Texts &command, const std::string &output_file)
{
    int output = open(output_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    pid_t pid = Spawn(command, {}, output);
    close(output);
    return pid;
}

bool WaitUntil(double seconds, const std::function<bool()> &condition)
{
    static constexpr useconds_t PAUSE = 50000;
    for (double end = Clock() + seconds; !condition(); usleep(PAUSE)) {
        if (Clock() > end)
            return false;
    }
    return true;
}

Finished ProgramRun(const Texts &command, const Texts &environment)
{
    char name[] = "/tmp/output-XXXXXX";
    int output = mkostemp(name, O_CLOEXEC);
    Finished finished = {-1, ""};
    pid_t pid = Spawn(command, environment, output);
    if (pid > 0)
        waitpid(pid, &finished.status, 0);
    finished.output = FileRead(name);
    close(output);
    unlink(name);
    return finished;
}

pid_t DaemonPid()
{
    return atoi(FileRead(PID_FILE).c_str());
}

pid_t DaemonLaunch(const Texts &environment, const std::string &program)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::string before = FileRead(PID_FILE);
    Finished front = ProgramRun({Built("bin/" + program)}, environment);
    EXPECT_EQ(front.status, 0);
    EXPECT_EQ(front.output, "");
    // Read once at a time: a file that a killed daemon left is emptied before it is written.
    std::string now;
    bool written = WaitFor(10, [&] {
        now = FileRead(PID_FILE);
        return atoi(now.c_str()) > 0 && now != before;
    });
    EXPECT_TRUE(written) << "no pid file";
    return written ? atoi(now.c_str()) : -1;
}

// The handlers come after the pid file; the one for SIGTERM is the last.
static bool IsSignalCaught(pid_t pid, int signal_number)
{
    std::string status = FileRead("/proc/" + std::to_string(pid) + "/status");
    size_t position = status.find("SigCgt:");
    if (position == std::string::npos)
        return false;
    unsigned long long caught = std::stoull(status.substr(position + 7), nullptr, 16);
    return (caught >> (signal_number - 1)) & 1;
}

pid_t DaemonStart(const Texts &environment, const std::string &program)
{
    pid_t pid = DaemonLaunch(environment, program);
    EXPECT_TRUE(WaitFor(10, [&] { return IsSignalCaught(pid, SIGTERM); }));
    return pid;
}

static bool IsAsleep(pid_t pid)
{
    std::string stat = FileRead("/proc/" + std::to_string(pid) + "/stat");
    size_t name_end = stat.rfind(") ");
    return name_end != std::string::npos && stat[name_end + 2] == 'S';
}

// Start-up waits for the disk now and then, but never for so long.
void DaemonSettle(pid_t pid)
{
    static constexpr double ASLEEP_SECONDS = 0.3;
    double since = Clock();
    EXPECT_TRUE(WaitFor(10, [&] {
        if (!IsAsleep(pid))
            since = Clock();
        return Clock() - since > ASLEEP_SECONDS;
    }));
}

int DaemonEnd(pid_t pid, int signal_number)
{
    if (pid <= 0 || kill(pid, signal_number) != 0)
        return -1;
    int status = -1;
    bool ended = WaitFor(20, [&] { return waitpid(pid, &status, WNOHANG) == pid; });
    return ended ? status : -1;
}

static void Block(int signal_number)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal_number);
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

void BecomeMediaServer()
{
    Block(SIGUSR1);
    FileWrite(DMS_PID_FILE, std::to_string(getpid()));
}

void BecomeMusicServer()
{
    Block(SIGHUP);
    FileWrite(MUSIC_SERVER_PID_FILE, std::to_string(getpid()));
}

bool SignalArrived(int signal_number, double seconds)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal_number);
    timespec time = {static_cast<time_t>(seconds),
                     static_cast<long>((seconds - static_cast<int>(seconds)) * 1e9)};
    return sigtimedwait(&set, nullptr, &time) == signal_number;
}

bool BatchesWait(double seconds)
{
    if (!WaitFor(seconds, [] { return !Exists(QUEUE) && !Exists(WORK_FILE); }))
        return false;
    return !Exists(DMS_PID_FILE) || SignalArrived(SIGUSR1, 10);
}

void Index(const Texts &lines, const Texts &environment, const std::string &program)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    BecomeMediaServer();
    FileAppend(QUEUE, text);
    pid_t pid = DaemonStart(environment, program);
    EXPECT_TRUE(BatchesWait());
    EXPECT_EQ(DaemonEnd(pid, SIGTERM), 0);
}

// The log is written by another process. A message of our own, once there, proves that all earlier ones are.
static void LogSettle()
{
    static int marks = 0;
    std::string mark = "mark " + std::to_string(++marks) + '.';
    openlog("system_test", 0, LOG_USER);
    syslog(LOG_ERR, "%s", mark.c_str());
    EXPECT_TRUE(WaitFor(10, [&] { return FileRead(LOG_FILE).find(mark) != std::string::npos; }))
        << "no system log";
}

Texts RawLog()
{
    LogSettle();
    Texts lines;
    std::istringstream file(FileRead(LOG_FILE));
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("nuboindexd"))
            lines.push_back(line);
    return lines;
}

Texts Log()
{
    static const std::regex head("^[^ ]+ [^ ]+ ");
    static const std::regex line_number("^([a-z0-9_]+(?: ?\\(|:))[0-9]+");
    Texts lines;
    for (const std::string &line : RawLog())
        lines.push_back(std::regex_replace(std::regex_replace(line, head, ""), line_number, "$1#"));
    return lines;
}
