#include "music/system_calls.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

SystemCalls system_calls;

static int Fail(int error)
{
    errno = error;
    return -1;
}

extern "C" int chmod(const char *path, mode_t mode) noexcept
{
    return system_calls.chmod_fails ? Fail(EPERM)
                                    : static_cast<int>(syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

extern "C" int chown(const char *path, uid_t uid, gid_t gid) noexcept
{
    system_calls.last_uid = static_cast<int>(uid);
    system_calls.last_gid = static_cast<int>(gid);
    return system_calls.chown_fails ? Fail(EPERM)
                                    : static_cast<int>(syscall(SYS_fchownat, AT_FDCWD, path, uid, gid, 0));
}

// The 64-bit offsets give these two their symbols.
extern "C" int fseeko64(FILE *stream, off64_t offset, int whence)
{
    static auto real = reinterpret_cast<int (*)(FILE *, off64_t, int)>(dlsym(RTLD_NEXT, "fseeko64"));
    return system_calls.seek_fails ? Fail(EIO) : real(stream, offset, whence);
}

extern "C" off64_t ftello64(FILE *stream)
{
    static auto real = reinterpret_cast<off64_t (*)(FILE *)>(dlsym(RTLD_NEXT, "ftello64"));
    return system_calls.tell_fails ? Fail(EIO) : real(stream);
}
