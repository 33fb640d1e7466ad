#include "watch/sync_child.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>
#include <sstream>

#include "paths_below.h"
#include "sync/sync.h"
#include "watch/watch_log.h"

static void ReportSend(int descriptor, const SyncReport &report)
{
    std::ostringstream text;
    text << "requests " << report.requests << '\n';
    for (const std::string &share : report.absent_shares)
        text << "absent " << share << '\n';
    std::string bytes = text.str();
    (void)!write(descriptor, bytes.data(), bytes.size());
}

// What is absent, unreadable or impossible to queue stays so, and is said; only a comparison that broke off is made
// again.
static bool IsDone(int status, const SyncReport &report)
{
    return status == TOOL_OK || (status == TOOL_FAILED && !report.complete);
}

// A row of what used to be a folder can only be reached through the folder above it.
static std::string FolderAt(std::string path)
{
    struct stat status;
    while (!path.empty() && !(stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)))
        path = ParentOf(path);
    return path;
}

// Compares the folders, or everything where that is not enough: a folder may lie in no share any more, and what
// differs may only be reached through a folder further up.
static int Compare(const std::vector<std::string> &folders, SyncReport &report)
{
    std::ostringstream ignored;
    Output output = {ignored, std::cerr, 0};
    SyncOptions options;
    for (const std::string &folder : folders)
        options.places.push_back(FolderAt(folder));
    int status = SyncRun(options, report, output);
    if (!folders.empty() && (status == TOOL_USAGE || !report.cannot_be_queued.empty()))
        status = SyncRun({}, report, output);
    for (const std::string &path : report.cannot_be_queued)
        WatchLog("no request can mend " + path + " without touching more; rebuild its share");
    return status;
}

[[noreturn]] static void ChildRun(int descriptor, const std::vector<std::string> &folders, pid_t parent)
{
    static constexpr int KEPT = 3;  // where the pipe goes; the lock and the events are the watcher's
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    signal(SIGTERM, SIG_DFL);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (getppid() != parent || dup2(descriptor, KEPT) < 0)
        _exit(TOOL_FAILED);
    (void)close_range(KEPT + 1, ~0U, 0);
    SyncReport report;
    int status = TOOL_FAILED;
    try {
        status = Compare(folders, report);
    } catch (const std::exception &error) {
        report.complete = true;
        std::cerr << "nuboindex: " << error.what() << '\n';
    }
    std::cerr.flush();
    ReportSend(KEPT, report);
    _exit(IsDone(status, report) ? TOOL_OK : TOOL_FAILED);
}

bool SyncChildStart(SyncChild &child, const std::vector<std::string> &folders)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0)
        ChildRun(ends[1], folders, parent);
    int error = errno;
    close(ends[1]);
    if (pid < 0) {
        close(ends[0]);
        errno = error;
        return false;
    }
    child = {pid, ends[0], ""};
    return true;
}

static void OutputRead(SyncChild &child)
{
    char bytes[4096];
    for (ssize_t length = 0; (length = read(child.output, bytes, sizeof bytes)) > 0;)
        child.text.append(bytes, static_cast<size_t>(length));
}

bool SyncChildEnded(SyncChild &child, SyncEnd &end)
{
    if (child.pid == 0)
        return false;
    int status = 0;
    OutputRead(child);
    if (waitpid(child.pid, &status, WNOHANG) != child.pid)
        return false;
    OutputRead(child);
    close(child.output);
    end = {WIFEXITED(status) && WEXITSTATUS(status) == TOOL_OK, 0, {}};
    std::istringstream text(child.text);
    for (std::string key, value; text >> key >> value;) {
        if (key == "requests")
            end.requests = static_cast<size_t>(atol(value.c_str()));
        else if (key == "absent")
            end.absent.push_back(value);
    }
    child = SyncChild();
    return true;
}

void SyncChildStop(SyncChild &child)
{
    if (child.pid == 0)
        return;
    (void)kill(child.pid, SIGKILL);  // whatever it has queued by then is in whole lines
    (void)waitpid(child.pid, nullptr, 0);
    close(child.output);
    child = SyncChild();
}
