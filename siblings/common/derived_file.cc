#include "common/derived_file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "platform/sdk.h"

static constexpr char ATTRIBUTE_FOLDER[] = "@eaDir";
static constexpr char TEMPORARY_PREFIX[] = ".making-";

// The name that the platform gives to the file for this key, without its folder.
static std::string DerivedName(const std::string &source_path, const char *key)
{
    char path[4096];
    if (NUBOEAPath(source_path.c_str(), key, path, sizeof path) != 0)
        return "";
    std::string name = path;
    return name.substr(name.rfind('/') + 1);
}

static bool IsUpToDate(const DerivedFile &file)
{
    struct stat made;
    return fstatat(file.folder, file.name.c_str(), &made, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(made.st_mode) &&
           made.st_mtim.tv_sec == file.source_status.st_mtim.tv_sec &&
           made.st_mtim.tv_nsec == file.source_status.st_mtim.tv_nsec;
}

static int AttributeFolderOpen(int parent)
{
    if (mkdirat(parent, ATTRIBUTE_FOLDER, 0777) != 0 && errno != EEXIST)
        return -1;
    return openat(parent, ATTRIBUTE_FOLDER, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// One program makes the files of a key, one after the other, so one name is enough, and what a killed one left is
// replaced. Nobody else's file and no link is ever opened.
static int OutputOpen(DerivedFile &file)
{
    (void)unlinkat(file.folder, file.temporary.c_str(), 0);
    file.output =
        openat(file.folder, file.temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    return file.output < 0 ? -1 : 0;
}

static int SourceOpen(const std::string &source_path, DerivedFile &file)
{
    std::string parent_path = source_path.substr(0, source_path.rfind('/') + 1);
    int parent = open(parent_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0)
        return -1;
    std::string name = source_path.substr(parent_path.size());
    file.source = openat(parent, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file.source >= 0 && fstat(file.source, &file.source_status) == 0) {
        if (S_ISREG(file.source_status.st_mode) && file.source_status.st_size > 0)
            file.folder = AttributeFolderOpen(parent);
        else
            errno = EINVAL;
    }
    int reason = errno;
    close(parent);
    errno = reason;
    return file.folder < 0 ? -1 : 0;
}

static DerivedState Opened(const std::string &source_path, DerivedFile &file)
{
    if (SourceOpen(source_path, file) < 0)
        return DERIVED_IMPOSSIBLE;
    if (IsUpToDate(file))
        return DERIVED_UP_TO_DATE;
    return OutputOpen(file) < 0 ? DERIVED_IMPOSSIBLE : DERIVED_WANTED;
}

DerivedState DerivedFileOpen(const std::string &source_path, const char *key, DerivedFile &file)
{
    file = {};
    file.name = DerivedName(source_path, key);
    if (file.name.empty() || source_path[0] != '/') {
        errno = EINVAL;
        return DERIVED_IMPOSSIBLE;
    }
    file.temporary = TEMPORARY_PREFIX + std::string(key);
    DerivedState state = Opened(source_path, file);
    int reason = errno;
    if (state != DERIVED_WANTED)
        DerivedFileClose(file);
    errno = reason;
    return state;
}

int DerivedFileFinish(const DerivedFile &file)
{
    struct timespec times[] = {file.source_status.st_mtim, file.source_status.st_mtim};
    if (futimens(file.output, times) != 0)
        return -1;
    return renameat(file.folder, file.temporary.c_str(), file.folder, file.name.c_str());
}

void DerivedFileClose(DerivedFile &file)
{
    if (file.output >= 0)
        (void)unlinkat(file.folder, file.temporary.c_str(), 0);
    for (int fd : {file.output, file.folder, file.source}) {
        if (fd >= 0)
            close(fd);
    }
    file = {};
}

int FolderFiles(const std::string &folder, int (*is_wanted)(const char *path), std::vector<std::string> &files)
{
    files.clear();
    DIR *directory = opendir(folder.c_str());
    if (!directory)
        return -1;
    while (const dirent *entry = readdir(directory)) {
        bool may_be_file = entry->d_type == DT_REG || entry->d_type == DT_UNKNOWN;
        if (may_be_file && entry->d_name[0] != '.' && is_wanted(entry->d_name))
            files.push_back(folder + "/" + entry->d_name);
    }
    closedir(directory);
    std::sort(files.begin(), files.end());
    return 0;
}
