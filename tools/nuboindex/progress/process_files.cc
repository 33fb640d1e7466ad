// Everything here may vanish between two looks; what has vanished is left out.
#include "process_files.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace fs = std::filesystem;

static std::string ProcessPath(int pid, const char *name)
{
    return "/proc/" + std::to_string(pid) + name;
}

static std::string FileText(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

static std::string LinkText(const std::string &path)
{
    std::error_code error;
    return fs::read_symlink(path, error).string();
}

static long PositionRead(const std::string &info_path)
{
    std::ifstream info(info_path);
    std::string key;
    long position = 0;
    return info >> key >> position && key == "pos:" ? position : -1;
}

static std::optional<OpenFile> OpenFileRead(int pid, const std::string &number)
{
    std::string link = ProcessPath(pid, "/fd/") + number;
    struct stat status;
    if (stat(link.c_str(), &status) != 0 || (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)))
        return std::nullopt;
    return OpenFile{LinkText(link),          status.st_dev,
                    status.st_ino,           S_ISDIR(status.st_mode),
                    S_ISREG(status.st_mode), PositionRead(ProcessPath(pid, "/fdinfo/") + number)};
}

// False when they may not be seen.
static bool OpenFilesRead(int pid, std::vector<OpenFile> *files)
{
    std::error_code error;
    fs::directory_iterator entry(ProcessPath(pid, "/fd"), error), end;
    if (error)
        return false;
    for (; !error && entry != end; entry.increment(error)) {
        if (std::optional<OpenFile> file = OpenFileRead(pid, entry->path().filename().string()))
            files->push_back(*file);
    }
    return true;
}

// The fields of /proc/PID/stat behind the name, which may hold anything.
static std::vector<std::string> StatFields(int pid)
{
    std::string stat = FileText(ProcessPath(pid, "/stat"));
    size_t name_end = stat.rfind(") ");
    if (name_end == std::string::npos)
        return {};
    std::istringstream rest(stat.substr(name_end + 2));
    return {std::istream_iterator<std::string>(rest), {}};
}

static std::vector<int> ChildrenFind(int pid)
{
    std::ifstream listed(ProcessPath(pid, "/task/") + std::to_string(pid) + "/children");
    if (listed)
        return {std::istream_iterator<int>(listed), {}};
    std::vector<int> children;  // a kernel without that list
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        int other = atoi(entry->path().filename().c_str());
        std::vector<std::string> fields = other > 0 ? StatFields(other) : std::vector<std::string>();
        if (fields.size() > 1 && atoi(fields[1].c_str()) == pid)
            children.push_back(other);
    }
    return children;
}

static bool Holds(const std::vector<OpenFile> &files, const OpenFile &wanted)
{
    return std::any_of(files.begin(), files.end(), [&](const OpenFile &file) {
        return file.device == wanted.device && file.inode == wanted.inode;
    });
}

ProcessView ProcessViewRead(int pid)
{
    ProcessView view = {};
    std::vector<std::string> fields = StatFields(pid);
    if (fields.empty())
        return view;
    view.state = fields[0][0];
    view.folder = LinkText(ProcessPath(pid, "/cwd"));
    view.is_visible = OpenFilesRead(pid, &view.files);
    if (!view.is_visible)
        return view;
    for (int child : ChildrenFind(pid))
        (void)OpenFilesRead(child, &view.child_files);
    std::erase_if(view.child_files, [&](const OpenFile &file) { return Holds(view.files, file); });
    return view;
}

long PositionIn(const ProcessView &process, const struct stat &file)
{
    for (const OpenFile &open : process.files) {
        if (open.device == file.st_dev && open.inode == file.st_ino)
            return open.position;
    }
    return -1;
}

double ProcessStartRead(int pid)
{
    static constexpr size_t START_FIELD = 19;  // counted behind the name
    std::vector<std::string> fields = StatFields(pid);
    if (fields.size() <= START_FIELD)
        return 0;
    return atof(fields[START_FIELD].c_str()) / static_cast<double>(sysconf(_SC_CLK_TCK));
}
