// Events of whole file systems. The kernel names a folder by its file handle, and the entry in it by its name. A handle
// can be turned into the path that the folder has now, and later moves of folders tell which path it had before.
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/fanotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "paths_below.h"
#include "watch/event_source.h"
#include "watch/mount_table.h"

static constexpr size_t READ_SIZE = 64 * 1024;
static constexpr size_t EVENT_MAX = 4096;  // two handles and two names take less than a quarter
static constexpr int READS_AT_ONCE = 64;
static constexpr size_t MOVES_AT_ONCE = 500;
static constexpr char NOT_UNDERSTOOD[] = "the kernel told of something in a way that is not known";
static constexpr char TOO_MANY[] = "more happened at once than the kernel keeps";
static constexpr uint64_t MASK =
    FAN_CREATE | FAN_DELETE | FAN_RENAME | FAN_CLOSE_WRITE | FAN_ATTRIB | FAN_ONDIR;

// A folder through which handles of its file system are looked up. It is open only while events are read, or its disk
// could not be unmounted.
struct WatchedMount {
    std::string folder;
    uint64_t number;
    fsid_t file_system;
    int descriptor;
};

struct FanotifySource final : EventSource {
    int queue = -1;
    std::vector<WatchedMount> mounts;
    std::set<std::string, std::less<>> folders;  // of which events are wanted, with all below
    bool was_cut = false;                        // more was to be read than one read takes
    std::string last_handle;  // within one read; most events follow another one of the same folder
    std::string last_folder;

    ~FanotifySource() override;
    const char *Name() const override;
    bool Watch(const std::string &folder, bool with_folders, std::string &reason) override;
    int Descriptor() const override;
    void Read(std::vector<WatchEvent> &events) override;
    std::string Limit() const override;

  private:
    bool MountWatch(const std::string &folder, std::string &reason);
    bool IsWanted(const std::string &path) const;
    std::string FolderOf(const fanotify_event_info_fid &info, const file_handle &handle);
    std::string PathOf(const fanotify_event_info_header *header);
    void EventAdd(const fanotify_event_metadata &event, std::vector<WatchEvent> &events);
    void BufferTake(const char *buffer, size_t length, std::vector<WatchEvent> &events);
};

FanotifySource::~FanotifySource()
{
    if (queue >= 0)
        close(queue);
}

const char *FanotifySource::Name() const
{
    return "fanotify";
}

int FanotifySource::Descriptor() const
{
    return queue;
}

std::string FanotifySource::Limit() const
{
    return "";
}

std::unique_ptr<EventSource> FanotifyOpen(std::string &reason)
{
    auto source = std::make_unique<FanotifySource>();
    source->queue =
        fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME | FAN_CLOEXEC | FAN_NONBLOCK, O_RDONLY);
    if (source->queue >= 0)
        return source;
    reason = std::string("fanotify: ") + strerror(errno);
    return nullptr;
}

// Can handles be turned into paths here? That needs a right of its own.
static bool HandleWorks(int descriptor)
{
    alignas(file_handle) char space[sizeof(file_handle) + MAX_HANDLE_SZ];
    file_handle *handle = reinterpret_cast<file_handle *>(space);
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount_id = 0;
    int folder = -1;
    if (name_to_handle_at(descriptor, "", handle, &mount_id, AT_EMPTY_PATH) == 0)
        folder = open_by_handle_at(descriptor, handle, O_PATH | O_CLOEXEC);
    if (folder < 0)
        return false;
    close(folder);
    return true;
}

static bool MountIdentify(int descriptor, WatchedMount &mount)
{
    struct statfs system;
    struct statx status;
    if (fstatfs(descriptor, &system) != 0 || statx(descriptor, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) != 0)
        return false;
    mount.file_system = system.f_fsid;
    mount.number = status.stx_mnt_id;
    return true;
}

static bool IsSameMount(const WatchedMount &one, const WatchedMount &other)
{
    return one.number == other.number &&
           memcmp(&one.file_system, &other.file_system, sizeof one.file_system) == 0;
}

static int FolderOpen(const std::string &folder)
{
    return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

bool FanotifySource::MountWatch(const std::string &folder, std::string &reason)
{
    WatchedMount mount = {folder, 0, {}, -1};
    int descriptor = FolderOpen(folder);
    if (descriptor < 0 || !MountIdentify(descriptor, mount))
        reason = folder + ": " + strerror(errno);
    else if (fanotify_mark(queue, FAN_MARK_ADD | FAN_MARK_FILESYSTEM, MASK, descriptor, ".") != 0)
        reason = "fanotify on the file system of " + folder + ": " + strerror(errno);
    else if (!HandleWorks(descriptor))
        reason = "file handles of " + folder + ": " + strerror(errno);
    bool is_known = false;
    for (const WatchedMount &other : mounts)
        is_known |= IsSameMount(mount, other);
    if (reason.empty() && !is_known)
        mounts.push_back(mount);
    if (descriptor >= 0)
        close(descriptor);
    return reason.empty();
}

bool FanotifySource::Watch(const std::string &folder, bool with_folders, std::string &reason)
{
    reason.clear();
    if (!MountWatch(folder, reason))
        return false;
    for (const std::string &place : with_folders ? MountsBelow(folder) : std::vector<std::string>()) {
        if (!MountWatch(place, reason))
            return false;
    }
    folders.insert(folder);
    return true;
}

// At, above or below a folder that is watched.
bool FanotifySource::IsWanted(const std::string &path) const
{
    for (std::string above = path; !above.empty(); above = ParentOf(above)) {
        if (folders.count(above))
            return true;
    }
    auto below = folders.lower_bound(path + '/');
    return below != folders.end() && IsAtOrBelow(*below, path);
}

// The path that an open folder has now; empty for a removed one.
static std::string PathOfDescriptor(int descriptor)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0 || status.st_nlink == 0)
        return "";
    char path[4096];
    std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    ssize_t length = readlink(link.c_str(), path, sizeof path);
    return length <= 0 || static_cast<size_t>(length) >= sizeof path
               ? ""
               : std::string(path, static_cast<size_t>(length));
}

// Opens the folder of a mount, once for each read. -1: something else is there now, which is noticed elsewhere.
static int MountOpen(WatchedMount &mount)
{
    static constexpr int FAILED = -2;
    if (mount.descriptor == -1) {
        WatchedMount now = mount;
        int descriptor = FolderOpen(mount.folder);
        bool is_same = descriptor >= 0 && MountIdentify(descriptor, now) && IsSameMount(mount, now);
        if (descriptor >= 0 && !is_same)
            close(descriptor);
        mount.descriptor = is_same ? descriptor : FAILED;
    }
    return mount.descriptor == FAILED ? -1 : mount.descriptor;
}

static void MountsClose(std::vector<WatchedMount> &mounts)
{
    for (WatchedMount &mount : mounts) {
        if (mount.descriptor >= 0)
            close(mount.descriptor);
        mount.descriptor = -1;
    }
}

// The path of the folder, when it is wanted; else empty.
std::string FanotifySource::FolderOf(const fanotify_event_info_fid &info, const file_handle &handle)
{
    std::string key(reinterpret_cast<const char *>(&handle), sizeof handle + handle.handle_bytes);
    key.append(reinterpret_cast<const char *>(&info.fsid), sizeof info.fsid);
    if (key == last_handle)
        return last_folder;
    last_handle = key;
    last_folder.clear();
    for (WatchedMount &mount : mounts) {
        if (memcmp(&mount.file_system, &info.fsid, sizeof info.fsid) != 0 || MountOpen(mount) < 0)
            continue;
        int folder =
            open_by_handle_at(mount.descriptor, const_cast<file_handle *>(&handle), O_PATH | O_CLOEXEC);
        if (folder < 0)
            continue;
        std::string path = PathOfDescriptor(folder);
        close(folder);
        if (IsWanted(path)) {
            last_folder = path;
            break;
        }
    }
    return last_folder;
}

// Folder and name of one record of an event; empty when it is out of sight, or the folder itself.
std::string FanotifySource::PathOf(const fanotify_event_info_header *header)
{
    const auto *info = reinterpret_cast<const fanotify_event_info_fid *>(header);
    const auto *handle = reinterpret_cast<const file_handle *>(info->handle);
    const char *name = reinterpret_cast<const char *>(handle->f_handle) + handle->handle_bytes;
    const char *end = reinterpret_cast<const char *>(header) + header->len;
    std::string entry(name, strnlen(name, static_cast<size_t>(end - name)));
    if (entry.empty() || entry == ".")
        return "";
    std::string folder = FolderOf(*info, *handle);
    return folder.empty() ? "" : (folder == "/" ? "" : folder) + '/' + entry;
}

// Events of one name are joined while they wait. What is there now tells what came last.
static void JoinedAdd(uint64_t mask, const std::string &path, std::vector<WatchEvent> &events)
{
    bool is_folder = mask & FAN_ONDIR;
    if (mask & FAN_DELETE) {
        events.push_back({WATCH_GONE, is_folder, path, ""});
        struct stat status;
        if (!(mask & FAN_CREATE) || lstat(path.c_str(), &status) != 0)
            return;
    }
    if (mask & FAN_CREATE)
        events.push_back({WATCH_CREATED, is_folder, path, ""});
    if ((mask & (FAN_CLOSE_WRITE | FAN_ATTRIB)) && !is_folder)
        events.push_back({WATCH_WRITTEN, false, path, ""});
}

void FanotifySource::EventAdd(const fanotify_event_metadata &event, std::vector<WatchEvent> &events)
{
    if (event.mask & FAN_Q_OVERFLOW) {
        events.push_back({WATCH_LOST, false, TOO_MANY, ""});
        return;
    }
    std::string path, old_path;
    const char *record = reinterpret_cast<const char *>(&event) + event.metadata_len;
    const char *end = reinterpret_cast<const char *>(&event) + event.event_len;
    while (end - record >= static_cast<ptrdiff_t>(sizeof(fanotify_event_info_header))) {
        const auto *header = reinterpret_cast<const fanotify_event_info_header *>(record);
        if (header->len == 0)
            break;
        if (header->info_type == FAN_EVENT_INFO_TYPE_OLD_DFID_NAME)
            old_path = PathOf(header);
        else if (header->info_type == FAN_EVENT_INFO_TYPE_NEW_DFID_NAME ||
                 header->info_type == FAN_EVENT_INFO_TYPE_DFID_NAME)
            path = PathOf(header);
        record += header->len;
    }
    if (event.mask & FAN_RENAME) {
        if (event.mask & FAN_ONDIR)
            last_handle.clear();  // paths are not what they were
        if (!path.empty() || !old_path.empty())
            events.push_back({WATCH_MOVED, (event.mask & FAN_ONDIR) != 0, path, old_path});
    } else if (!path.empty()) {
        JoinedAdd(event.mask, path, events);
    }
}

// The name is that of the event's moment; only the folder was found later.
static void MoveUndo(std::string &path, const WatchEvent &move)
{
    if (!path.empty() && !move.path.empty() && IsAtOrBelow(ParentOf(path), move.path))
        path = move.old_path.empty() ? "" : move.old_path + path.substr(move.path.size());
}

// Folders are those of the end of the read. Each event gets those of its own moment: what was moved later is moved
// back.
static void PathsOfTheirTime(std::vector<WatchEvent> &events)
{
    std::vector<WatchEvent> later;
    for (auto event = events.rbegin(); event != events.rend(); event++) {
        for (const WatchEvent &move : later) {  // the latest is the first
            MoveUndo(event->path, move);
            MoveUndo(event->old_path, move);
        }
        if (event->kind == WATCH_MOVED && event->is_folder)
            later.push_back(*event);
    }
    std::erase_if(events, [](const WatchEvent &event) { return event.path.empty() && event.old_path.empty(); });
}

static size_t FolderMovesOf(const std::vector<WatchEvent> &events)
{
    size_t count = 0;
    for (const WatchEvent &event : events)
        count += event.kind == WATCH_MOVED && event.is_folder;
    return count;
}

// The kernel packs events at multiples of four bytes; their type wants eight. What cannot be understood may have been
// anything.
void FanotifySource::BufferTake(const char *buffer, size_t length, std::vector<WatchEvent> &events)
{
    alignas(fanotify_event_metadata) char space[EVENT_MAX];
    const auto *event = reinterpret_cast<const fanotify_event_metadata *>(space);
    while (length >= sizeof *event) {
        memcpy(space, buffer, sizeof *event);
        size_t size = event->event_len;
        if (size < sizeof *event || size > length || size > sizeof space ||
            event->vers != FANOTIFY_METADATA_VERSION) {
            events.push_back({WATCH_LOST, false, NOT_UNDERSTOOD, ""});
            return;
        }
        memcpy(space, buffer, size);
        EventAdd(*event, events);
        if (event->fd >= 0)
            close(event->fd);
        buffer += size;
        length -= size;
    }
}

void FanotifySource::Read(std::vector<WatchEvent> &events)
{
    char buffer[READ_SIZE];
    ssize_t length = 0;
    std::vector<WatchEvent> fresh;
    int reads = 0;
    for (; reads < READS_AT_ONCE && (length = read(queue, buffer, sizeof buffer)) > 0; reads++) {
        last_handle.clear();
        BufferTake(buffer, static_cast<size_t>(length), fresh);
    }
    MountsClose(mounts);
    size_t moves = FolderMovesOf(fresh);
    if (moves > MOVES_AT_ONCE || (moves > 0 && was_cut))  // paths of then cannot be told
        fresh = {{WATCH_LOST, false, TOO_MANY, ""}};
    was_cut = reads == READS_AT_ONCE;
    PathsOfTheirTime(fresh);
    events.insert(events.end(), fresh.begin(), fresh.end());
}
