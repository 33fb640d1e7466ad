#include "watch/watch_state.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "common/paths.h"
#include "printable.h"

static constexpr char END[] = "end";  // what a longer text before has left behind it does not count

int WatchStateOpen(std::string &reason)
{
    mode_t mask = umask(022);
    int descriptor = open(WATCH_STATE_PATH, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    umask(mask);
    if (descriptor < 0) {
        reason = std::string("cannot open ") + WATCH_STATE_PATH + ": " + strerror(errno);
        return -1;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    reason = errno == EWOULDBLOCK ? "another watcher is running"
                                  : std::string("cannot lock ") + WATCH_STATE_PATH + ": " + strerror(errno);
    close(descriptor);
    return -1;
}

bool WatchStateWrite(int descriptor, const WatchState &state)
{
    std::ostringstream text;
    text << "pid " << state.pid << "\nsource " << state.source << '\n';
    for (const std::string &share : state.shares)
        text << "share " << share << '\n';
    for (const std::string &share : state.absent)
        text << "absent " << share << '\n';
    if (state.is_working)
        text << "working yes\n";
    if (!state.degraded.empty())
        text << "degraded " << PrintableText(state.degraded) << '\n';
    if (!state.limit.empty())
        text << "limit " << PrintableText(state.limit) << '\n';
    text << END << '\n';
    std::string bytes = text.str();
    ssize_t written = pwrite(descriptor, bytes.data(), bytes.size(), 0);
    return written == static_cast<ssize_t>(bytes.size()) && ftruncate(descriptor, written) == 0;
}

static void LineTake(const std::string &key, const std::string &value, WatchState &state)
{
    if (key == "pid")
        state.pid = atoi(value.c_str());
    else if (key == "source")
        state.source = value;
    else if (key == "share")
        state.shares.push_back(value);
    else if (key == "absent")
        state.absent.push_back(value);
    else if (key == "working")
        state.is_working = value == "yes";
    else if (key == "degraded")
        state.degraded = value;
    else if (key == "limit")
        state.limit = value;
}

static bool IsLocked(int descriptor)
{
    return flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool WatchStateRead(WatchState &state)
{
    int descriptor = open(WATCH_STATE_PATH, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0)
        return false;
    char bytes[8192];
    bool is_running = IsLocked(descriptor);
    ssize_t length = is_running ? pread(descriptor, bytes, sizeof bytes, 0) : 0;
    close(descriptor);
    state = WatchState();
    std::istringstream text(std::string(bytes, length > 0 ? static_cast<size_t>(length) : 0));
    for (std::string line; std::getline(text, line) && line != END;) {
        size_t blank = line.find(' ');
        if (blank != std::string::npos)
            LineTake(line.substr(0, blank), line.substr(blank + 1), state);
    }
    return is_running;
}

static std::string Joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

std::string WatchStateTextOf(const WatchState &state)
{
    if (state.source.empty())
        return "starting";
    std::string text = "degraded: " + state.degraded;
    if (state.degraded.empty()) {
        text = "watching " + std::to_string(state.shares.size()) +
               (state.shares.size() == 1 ? " share" : " shares");
        text += " (" + state.source + ")";
        if (state.is_working)
            text += ", changes are on their way";
    }
    if (!state.absent.empty())
        text += "; absent: " + Joined(state.absent);
    if (!state.limit.empty())
        text += "; " + state.limit;
    return text;
}

std::string WatchStateText()
{
    WatchState state;
    return WatchStateRead(state) ? WatchStateTextOf(state) : "not running";
}

Json WatchStateJson()
{
    WatchState state;
    if (!WatchStateRead(state))
        return nullptr;
    auto text = [](const std::string &value) { return value.empty() ? Json(nullptr) : Json(value); };
    return {{"pid", state.pid},          {"source", text(state.source)}, {"shares", state.shares},
            {"absent", state.absent},    {"working", state.is_working},  {"degraded", text(state.degraded)},
            {"limit", text(state.limit)}};
}
