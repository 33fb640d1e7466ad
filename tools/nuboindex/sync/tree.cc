// A folder is read to its end and closed before any of its subfolders is opened: a walk holds one descriptor, however
// deep the tree. Entries are looked at in the order of their inodes, which is how they lie on the disk.
#include "sync/tree.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>  // AT_FDCWD
#include <string.h>

#include <algorithm>
#include <vector>

#include "index/share_path.h"
#include "sync/file_kind.h"

static constexpr size_t PATH_LIMIT = 4096;  // a longer path, terminator included, is none to the daemon either
static constexpr unsigned STATUS_FIELDS = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_INO;

static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";

struct TreeEntry {
    ino_t inode;
    unsigned char type;
    std::string name;
};

bool IsNothingThere(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG || error == ELOOP;
}

int PathStatus(const std::string &path, struct statx *status)
{
    return statx(AT_FDCWD, path.c_str(), 0, STATUS_FIELDS, status);
}

static bool IsSame(const struct statx &a, const struct statx &b)
{
    return a.stx_ino == b.stx_ino && a.stx_dev_major == b.stx_dev_major && a.stx_dev_minor == b.stx_dev_minor;
}

// Is a folder that was reached through a link one of those above the link?
static bool IsLoop(const std::string &path, const struct statx &status)
{
    for (size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        struct statx above;
        if (PathStatus(path.substr(0, slash), &above) == 0 && IsSame(above, status))
            return true;
    }
    struct statx root;
    return PathStatus("/", &root) == 0 && IsSame(root, status);
}

static bool IsSkipped(const char *name)
{
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0 || strcmp(name, ATTRIBUTE_FOLDER) == 0;
}

// The entries of an open folder that may matter. False when they could not be read to the end.
static bool EntriesRead(DIR *dir, std::vector<TreeEntry> &entries)
{
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(dir);
        if (!entry)
            break;
        const char *name = entry->d_name;
        bool may_matter = entry->d_type != DT_REG || MediaKindOfName(name) >= 0;
        if (may_matter && !IsSkipped(name))
            entries.push_back({entry->d_ino, entry->d_type, name});
    }
    bool is_whole = errno == 0;
    std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) { return a.inode < b.inode; });
    return is_whole;
}

// Folders that wait for their turn.
using TreeStack = std::vector<std::string>;

static void EntryVisit(int folder, std::string &path, size_t name, const TreeEntry &entry, TreeStack &stack,
                       const TreeVisit &visit)
{
    if (entry.type == DT_DIR) {
        stack.push_back(path);
        return;
    }
    struct statx status;
    if (statx(folder, entry.name.c_str(), 0, STATUS_FIELDS, &status) != 0) {
        if (!IsNothingThere(errno))
            visit.unreadable(path);
        return;
    }
    int kind = MediaKindOfName(entry.name);
    if (!S_ISDIR(status.stx_mode) && kind >= 0)
        visit.file({path, std::string_view(path).substr(name), kind, status});
    if (S_ISDIR(status.stx_mode) && (entry.type != DT_LNK || !IsLoop(path, status)))
        stack.push_back(path);
}

static void FolderVisit(std::string path, TreeStack &stack, const TreeVisit &visit)
{
    if (IsRecycleBinPath(path.c_str()))
        return;
    DIR *dir = opendir(path.c_str());
    if (!dir) {
        IsNothingThere(errno) ? visit.vanished(path) : visit.unreadable(path);
        return;
    }
    std::vector<TreeEntry> entries;
    if (!EntriesRead(dir, entries))
        visit.unreadable(path);
    visit.folder(path);

    path += '/';
    size_t length = path.size();
    for (const TreeEntry &entry : entries) {
        path.resize(length);
        path += entry.name;
        if (path.size() < PATH_LIMIT)
            EntryVisit(dirfd(dir), path, length, entry, stack, visit);
    }
    closedir(dir);
}

static void SingleVisit(const std::string &path, const struct statx &status, const TreeVisit &visit)
{
    std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
    int kind = MediaKindOfName(name);
    if (kind >= 0)
        visit.file({path, name, kind, status});
}

void TreeWalk(const std::string &path, const TreeVisit &visit)
{
    struct statx status;
    if (PathStatus(path, &status) != 0) {
        IsNothingThere(errno) ? visit.vanished(path) : visit.unreadable(path);
        return;
    }
    if (!S_ISDIR(status.stx_mode)) {
        SingleVisit(path, status, visit);
        return;
    }
    TreeStack stack = {path};
    while (!stack.empty()) {
        std::string next = std::move(stack.back());
        stack.pop_back();
        FolderVisit(std::move(next), stack, visit);
    }
}
