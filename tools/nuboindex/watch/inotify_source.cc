// One watch for every folder. The kernel knows a watch by its number only, so the paths are kept here.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <unordered_map>

#include "paths_below.h"
#include "watch/event_source.h"

static constexpr size_t READ_SIZE = 64 * 1024;
static constexpr uint32_t MASK = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE |
                                 IN_ATTRIB | IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK;

struct InotifySource final : EventSource {
    int queue = -1;
    std::unordered_map<int, std::string> paths;
    std::map<std::string, int, std::less<>> watches;  // by path
    size_t unwatched = 0;
    WatchEvent departure = {};  // the first half of a move whose other half has not come yet
    uint32_t departure_cookie = 0;
    bool departure_waits = false;  // there was nothing behind it when it was read

    ~InotifySource() override;
    const char *Name() const override;
    bool Watch(const std::string &folder, bool with_folders, std::string &reason) override;
    int Descriptor() const override;
    void Read(std::vector<WatchEvent> &events) override;
    std::string Limit() const override;

  private:
    bool FolderWatch(const std::string &folder);
    void TreeWatch(const std::string &folder);
    void TreeForget(const std::string &folder);
    void TreeRename(const std::string &old_folder, const std::string &new_folder);
    void DepartureEnd(std::vector<WatchEvent> &events);
    void Arrival(const inotify_event &event, const std::string &path, std::vector<WatchEvent> &events);
    void EventAdd(const inotify_event &event, std::vector<WatchEvent> &events);
};

InotifySource::~InotifySource()
{
    if (queue >= 0)
        close(queue);
}

const char *InotifySource::Name() const
{
    return "inotify";
}

int InotifySource::Descriptor() const
{
    return queue;
}

std::string InotifySource::Limit() const
{
    if (unwatched == 0)
        return "";
    return std::to_string(unwatched) + " folders are not watched: fs.inotify.max_user_watches is too small";
}

std::unique_ptr<EventSource> InotifyOpen(std::string &reason)
{
    auto source = std::make_unique<InotifySource>();
    source->queue = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (source->queue >= 0)
        return source;
    reason = std::string("inotify: ") + strerror(errno);
    return nullptr;
}

// What cannot be watched because it vanished, or may not be read, is told by its parent or cannot be indexed either.
bool InotifySource::FolderWatch(const std::string &folder)
{
    int watch = inotify_add_watch(queue, folder.c_str(), MASK);
    if (watch < 0) {
        unwatched += errno == ENOSPC || errno == ENOMEM;
        return false;
    }
    auto known = paths.find(watch);
    if (known != paths.end() && known->second != folder)
        watches.erase(known->second);
    paths[watch] = folder;
    watches[folder] = watch;
    return true;
}

static bool IsFolder(int dir, const dirent &entry)
{
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat status;
    return fstatat(dir, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

// The watch comes before the look, so that no folder is made in between.
void InotifySource::TreeWatch(const std::string &folder)
{
    std::vector<std::string> waiting = {folder};
    while (!waiting.empty()) {
        std::string path = std::move(waiting.back());
        waiting.pop_back();
        DIR *dir = FolderWatch(path) ? opendir(path.c_str()) : nullptr;
        if (!dir)
            continue;
        while (const dirent *entry = readdir(dir)) {
            std::string name = entry->d_name;
            if (name != "." && name != ".." && name != "@eaDir" && IsFolder(dirfd(dir), *entry))
                waiting.push_back((path == "/" ? "" : path) + '/' + name);
        }
        closedir(dir);
    }
}

bool InotifySource::Watch(const std::string &folder, bool with_folders, std::string &reason)
{
    if (!FolderWatch(folder)) {
        reason = "inotify on " + folder + ": " + strerror(errno);
        return false;
    }
    if (with_folders)
        TreeWatch(folder);
    return true;
}

void InotifySource::TreeForget(const std::string &folder)
{
    for (auto watch = watches.lower_bound(folder);
         watch != watches.end() && watch->first.starts_with(folder);) {
        if (!IsAtOrBelow(watch->first, folder)) {
            watch++;
            continue;
        }
        (void)inotify_rm_watch(queue, watch->second);
        paths.erase(watch->second);
        watch = watches.erase(watch);
    }
}

void InotifySource::TreeRename(const std::string &old_folder, const std::string &new_folder)
{
    std::vector<std::pair<std::string, int>> moved;
    for (auto watch = watches.lower_bound(old_folder);
         watch != watches.end() && watch->first.starts_with(old_folder);) {
        if (!IsAtOrBelow(watch->first, old_folder)) {
            watch++;
            continue;
        }
        moved.emplace_back(new_folder + watch->first.substr(old_folder.size()), watch->second);
        watch = watches.erase(watch);
    }
    for (auto &[path, watch] : moved) {
        paths[watch] = path;
        watches[path] = watch;
    }
}

// The other half did not come: the thing was moved to where nobody watches.
void InotifySource::DepartureEnd(std::vector<WatchEvent> &events)
{
    if (departure_cookie == 0)
        return;
    departure_cookie = 0;
    departure_waits = false;
    if (departure.is_folder)
        TreeForget(departure.old_path);
    events.push_back({WATCH_GONE, departure.is_folder, departure.old_path, ""});
}

void InotifySource::Arrival(const inotify_event &event, const std::string &path,
                            std::vector<WatchEvent> &events)
{
    bool is_folder = event.mask & IN_ISDIR;
    std::string old_path;
    if (departure_cookie == event.cookie) {
        departure_cookie = 0;
        old_path = departure.old_path;
        if (is_folder)
            TreeRename(old_path, path);
    }
    DepartureEnd(events);
    if (is_folder)
        TreeWatch(path);  // also after a rename: its subfolders may be new
    events.push_back({WATCH_MOVED, is_folder, path, old_path});
}

void InotifySource::EventAdd(const inotify_event &event, std::vector<WatchEvent> &events)
{
    if (event.mask & (IN_Q_OVERFLOW | IN_UNMOUNT)) {
        bool is_overflow = event.mask & IN_Q_OVERFLOW;
        events.push_back({WATCH_LOST, false,
                          is_overflow ? "more happened at once than the kernel keeps" : "a disk was unmounted",
                          ""});
        return;
    }
    auto folder = paths.find(event.wd);
    if (folder == paths.end())
        return;
    if (event.mask & IN_IGNORED) {
        auto watch = watches.find(folder->second);
        if (watch != watches.end() && watch->second == event.wd)
            watches.erase(watch);
        paths.erase(folder);
        return;
    }
    if (event.len == 0)
        return;
    std::string path = (folder->second == "/" ? "" : folder->second) + '/' + event.name;
    bool is_folder = event.mask & IN_ISDIR;
    if (event.mask & IN_MOVED_TO) {
        Arrival(event, path, events);
        return;
    }
    DepartureEnd(events);
    if (event.mask & IN_MOVED_FROM) {
        departure = {WATCH_MOVED, is_folder, "", path};
        departure_cookie = event.cookie;
    } else if (event.mask & IN_CREATE) {
        if (is_folder)
            TreeWatch(path);
        events.push_back({WATCH_CREATED, is_folder, path, ""});
    } else if (event.mask & IN_DELETE) {
        events.push_back({WATCH_GONE, is_folder, path, ""});
    } else if (!is_folder) {
        events.push_back({WATCH_WRITTEN, false, path, ""});
    }
}

void InotifySource::Read(std::vector<WatchEvent> &events)
{
    alignas(inotify_event) char buffer[READ_SIZE];
    ssize_t length = read(queue, buffer, sizeof buffer);
    if (length <= 0) {
        if (departure_waits)
            DepartureEnd(events);
        departure_waits = departure_cookie != 0;
        return;
    }
    for (const char *position = buffer; position < buffer + length;) {
        const auto *event = reinterpret_cast<const inotify_event *>(position);
        EventAdd(*event, events);
        position += sizeof(inotify_event) + event->len;
    }
}
