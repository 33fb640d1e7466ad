// The plain reasons first: most unreadable files are empty, cut short, or something else under a media file's name.
#include "unreadable_reason.h"

#include <errno.h>
#include <fcntl.h>
#include <magic.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

static constexpr size_t START_SIZE = 65536;

// The database of contents is loaded once, and stays.
static magic_t MagicOpen(int flags)
{
    magic_t magic = magic_open(flags);
    if (magic && magic_load(magic, nullptr) == 0)
        return magic;
    if (magic)
        magic_close(magic);
    return nullptr;
}

// Empty when nobody knows.
static std::string MagicName(magic_t magic, const std::vector<char> &start)
{
    const char *name = magic ? magic_buffer(magic, start.data(), start.size()) : nullptr;
    return name ? name : "";
}

static bool IsMedia(const std::vector<char> &start)
{
    static const magic_t magic = MagicOpen(MAGIC_MIME_TYPE);
    std::string type = MagicName(magic, start);
    return type.starts_with("audio/") || type.starts_with("video/") || type.starts_with("image/");
}

static std::string ContentReason(const std::vector<char> &start)
{
    if (std::all_of(start.begin(), start.end(), [](char byte) { return byte == 0; }))
        return "begins with nothing but zeros, as after an interrupted copy";
    static const magic_t magic = MagicOpen(MAGIC_NONE);
    std::string name = MagicName(magic, start);
    if (name.empty() || name == "data")
        return "has contents of no known format";
    return "looks like " + name + (IsMedia(start) ? ", but is damaged, cut short or took too long" : "");
}

static std::vector<char> StartRead(int file)
{
    std::vector<char> start(START_SIZE);
    size_t length = 0;
    for (ssize_t got = 1; got > 0 && length < start.size();
         length += static_cast<size_t>(std::max<ssize_t>(got, 0)))
        got = read(file, start.data() + length, start.size() - length);
    start.resize(length);
    return start;
}

static std::string OpenFileReason(int file, time_t failed)
{
    struct stat status;
    if (fstat(file, &status) != 0)
        return std::string("cannot be looked at: ") + strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "is no regular file";
    if (std::max(status.st_mtime, status.st_ctime) > failed)
        return "has changed since then: nuboindex add reads it again";
    if (status.st_size == 0)
        return "is empty";
    std::vector<char> start = StartRead(file);
    return start.empty() ? "cannot be read from its disk" : ContentReason(start);
}

std::string UnreadableReason(const std::string &path, time_t failed)
{
    int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return errno == ENOENT || errno == ENOTDIR ? "is gone"
                                                   : std::string("cannot be opened: ") + strerror(errno);
    std::string reason = OpenFileReason(file, failed);
    close(file);
    return reason;
}
