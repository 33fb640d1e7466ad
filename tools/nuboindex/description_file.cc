// The daemon may look for the file at any moment, so it gets its name when it is complete.
#include "description_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/sdk.h"

bool IsDescriptionText(const std::string &text, std::string &reason)
{
    if (text.empty())
        reason = "an empty text changes nothing";
    else if (text.find('\n') != std::string::npos)
        reason = "only the first line would be kept; a text cannot hold a line feed";
    else if (text.size() > DESCRIPTION_TEXT_MAX)
        reason = "the text has " + std::to_string(text.size()) + " bytes; " +
                 std::to_string(DESCRIPTION_TEXT_MAX) + " can be kept";
    else
        return true;
    return false;
}

static int FolderOpen(const std::string &folder)
{
    if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
        return -1;
    return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

static bool FileWrite(int folder, const std::string &name, const std::string &text)
{
    std::string temporary = ".making-" + std::to_string(getpid());
    int file = openat(folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return false;
    errno = ENOSPC;  // the reason for a short write
    bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    written = close(file) == 0 && written && renameat(folder, temporary.c_str(), folder, name.c_str()) == 0;
    int problem = errno;
    if (!written)
        (void)unlinkat(folder, temporary.c_str(), 0);
    errno = problem;
    return written;
}

bool DescriptionWrite(const std::string &path, const char *key, const std::string &text, std::string &reason)
{
    char place[4096];
    if (NUBOEAPath(path.c_str(), key, place, sizeof place - 1) != 0) {
        reason = "its path is too long for a description file";
        return false;
    }
    std::string file = place;
    size_t slash = file.rfind('/');
    int folder = FolderOpen(file.substr(0, slash));
    bool written = folder >= 0 && FileWrite(folder, file.substr(slash + 1), text);
    if (!written)
        reason = "cannot write " + file + ": " + strerror(errno);
    if (folder >= 0)
        close(folder);
    return written;
}
