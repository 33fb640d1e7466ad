// A file is looked at twice: before the open, because merely opening a device may start something, and after it,
// because the name may lead somewhere else by then.
#include "common/regular_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool IsRegularFile(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return false;
    if (S_ISREG(status.st_mode))
        return true;
    errno = EINVAL;
    return false;
}

FILE *RegularFileOpen(const char *path)
{
    if (!IsRegularFile(path))
        return nullptr;
    int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return nullptr;
    struct stat status;
    FILE *file = nullptr;
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
        errno = EINVAL;
    else
        file = fdopen(fd, "rb");
    if (!file) {
        int reason = errno;
        close(fd);
        errno = reason;
    }
    return file;
}

int64_t RegularFileSize(LogSite at, FILE *file, const char *path)
{
    if (fseeko(file, 0, SEEK_END) < 0) {
        LogParen(at, "Unable to seek to end %s ", path);  // the blank ends the message
        return -1;
    }
    int64_t size = ftello(file);
    if (size < 0)
        LogParen(at, "Seeking to end of input file %s failed.", path);
    return size;
}
