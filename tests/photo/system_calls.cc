// The calls are defined in the test program, which puts them in front of the C library's.
#include "photo/system_calls.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <string.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "common/paths.h"

SystemCalls system_calls;

static int queue_fd = -1;

static int Fail(int reason)
{
    errno = reason;
    return -1;
}

static bool IsQueueFile(const char *path)
{
    return strcmp(path, THUMB_QUEUE_PATH) == 0 || strcmp(path, FLV_QUEUE_PATH) == 0;
}

static int OpenScripted(const char *path, int flags, int mode)
{
    bool is_queue = IsQueueFile(path) && (flags & O_ACCMODE) == O_RDWR;
    if (is_queue) {
        system_calls.opens.push_back(std::to_string(flags));
        int reason = 0;
        if (!system_calls.open_errors.empty()) {
            reason = system_calls.open_errors.front();
            system_calls.open_errors.pop_front();
        }
        if (reason)
            return Fail(reason);
    }
    int fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (is_queue)
        queue_fd = fd;
    return fd;
}

extern "C" {

int open(const char *path, int flags, ...)
{
    int mode = 0;
    if (flags & O_CREAT) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, int);
        va_end(args);
    }
    return OpenScripted(path, flags, mode);
}

int flock(int fd, int operation) noexcept
{
    if (operation == LOCK_EX && system_calls.flock_error)
        return Fail(system_calls.flock_error);
    return static_cast<int>(syscall(SYS_flock, fd, operation));
}

ssize_t write(int fd, const void *bytes, size_t size)
{
    if (fd == queue_fd && fd >= 0) {
        queue_fd = -1;
        if (system_calls.write_error > 0)
            return Fail(system_calls.write_error);
        if (system_calls.write_error < 0)
            size /= 2;
    }
    return syscall(SYS_write, fd, bytes, size);
}

unsigned sleep(unsigned seconds)
{
    system_calls.sleeps += static_cast<int>(seconds);
    return 0;
}

int kill(pid_t pid, int number) noexcept
{
    system_calls.kills.push_back(std::to_string(pid) + " " + std::to_string(number));
    return 0;
}

int statfs(const char *path, struct statfs *out) noexcept
{
    if (system_calls.statfs_error)
        return Fail(system_calls.statfs_error);
    if (syscall(SYS_statfs, path, out) != 0)
        return -1;
    if (system_calls.file_system_type)
        out->f_type = system_calls.file_system_type;
    return 0;
}
}
