// The open comes first and the look at what was opened second, so nothing can be exchanged in between.
#include "common/regular_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool IsRegularFile(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

FILE *RegularFileOpen(const char *path)
{
    int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
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
