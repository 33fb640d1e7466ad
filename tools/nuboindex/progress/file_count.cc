// The order in which a file system lists a folder is the same for everybody, so a place in this walk is the daemon's
// place in its own.
#include "file_count.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "index/share_path.h"

static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";
static constexpr int64_t FILES_MAX = 20'000'000;  // links that lead in circles make any number of them

struct FolderCloser {
    void operator()(DIR *dir) const
    {
        closedir(dir);
    }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

static uint64_t PathHash(std::string_view path)
{
    return std::hash<std::string_view>()(path);
}

static uint64_t MarkHash(std::string_view folder, long mark)
{
    return PathHash(folder) ^ (static_cast<uint64_t>(mark) * 0x9E3779B97F4A7C15u + 1);
}

// A path without symbolic links; as it stands when that cannot be found.
static std::string RealPath(const std::string &path)
{
    std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), free);
    return real ? real.get() : path;
}

FileTotal FileCount::Total() const
{
    return total;
}

std::optional<FileTotal> FileCount::Before(std::string_view path) const
{
    auto found = places.find(PathHash(path));
    return found == places.end() ? std::nullopt : std::optional(found->second);
}

std::optional<FileTotal> FileCount::BeforeMark(std::string_view folder, long mark) const
{
    auto found = places.find(MarkHash(folder, mark));
    return found == places.end() ? std::nullopt : std::optional(found->second);
}

bool FileCount::FileTake(std::string_view path, int64_t bytes)
{
    places.emplace(PathHash(path), total);
    total.files++;
    total.bytes += bytes;
    return total.files < FILES_MAX;
}

bool FileCount::Walk(const PlannedWalk &walk, const std::atomic<bool> &stop)
{
    struct stat status;
    if (stat(walk.root.c_str(), &status) != 0)
        return true;
    if (!S_ISDIR(status.st_mode))
        return FileTake(RealPath(walk.root), status.st_size);
    if (walk.is_single)
        return true;
    std::string path = walk.root;
    return walk.order == WALK_SORTED ? SortedWalk(path, stop) : FolderWalk(path, stop);
}

// `path` is the walk's name for the entry, `folder` that of /proc for what it lies in.
bool FileCount::EntryTake(std::string &path, const std::string &folder, const char *name,
                          const std::atomic<bool> &stop)
{
    struct stat status;
    if (path.size() >= PATH_MAX || stat(path.c_str(), &status) != 0)
        return true;
    if (S_ISDIR(status.st_mode))
        return FolderWalk(path, stop);
    struct stat link;
    bool is_link = lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
    return FileTake(is_link ? RealPath(path) : folder + "/" + name, status.st_size);
}

bool FileCount::FolderWalk(std::string &path, const std::atomic<bool> &stop)
{
    if (IsRecycleBinPath(path.c_str()))
        return true;
    Folder dir(opendir(path.c_str()));
    if (!dir)
        return true;
    std::string real = RealPath(path);
    places.emplace(PathHash(real), total);
    size_t length = path.size();
    long mark = 0;
    bool whole = true;
    while (const dirent *entry = whole && !stop ? readdir(dir.get()) : nullptr) {
        long now = lseek(dirfd(dir.get()), 0, SEEK_CUR);
        if (now != mark) {
            mark = now;
            places.emplace(MarkHash(real, mark), total);
        }
        const char *name = entry->d_name;
        if (!strcmp(name, ".") || !strcmp(name, "..") || !strcmp(name, ATTRIBUTE_FOLDER))
            continue;
        path.append("/").append(name);
        whole = EntryTake(path, real, name, stop);
        path.resize(length);
    }
    return whole && !stop;
}

static void NamesRead(DIR *dir, std::vector<std::string> *files, std::vector<std::string> *folders)
{
    while (const dirent *entry = readdir(dir)) {
        std::string name = entry->d_name;
        struct stat status;
        if (name[0] == '.' || fstatat(dirfd(dir), name.c_str(), &status, 0) != 0)
            continue;
        bool is_folder = S_ISDIR(status.st_mode);
        if (is_folder && name.find(ATTRIBUTE_FOLDER) == std::string::npos)
            folders->push_back(name);
        if (!is_folder && name.find('.') != std::string::npos)
            files->push_back(name);
    }
    std::sort(files->rbegin(), files->rend());
    std::sort(folders->begin(), folders->end());
}

bool FileCount::SortedWalk(std::string &path, const std::atomic<bool> &stop)
{
    Folder dir(IsRecycleBinPath(path.c_str()) ? nullptr : opendir(path.c_str()));
    if (!dir || path.size() >= PATH_MAX)
        return true;
    std::string real = RealPath(path);
    places.emplace(PathHash(real), total);
    std::vector<std::string> files, folders;
    NamesRead(dir.get(), &files, &folders);
    for (const std::string &name : files) {
        struct stat status;
        int64_t bytes = fstatat(dirfd(dir.get()), name.c_str(), &status, 0) == 0 ? status.st_size : 0;
        if (stop || !FileTake(real + "/" + name, bytes))
            return false;
    }
    dir.reset();
    size_t length = path.size();
    bool whole = true;
    for (const std::string &name : folders) {
        path.append("/").append(name);
        whole = whole && SortedWalk(path, stop);
        path.resize(length);
    }
    return whole && !stop;
}
