#include "audio/owner_calls.h"

#include <errno.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

OwnerCalls owner_calls;

static int Fail()
{
    errno = EPERM;
    return -1;
}

extern "C" int fchmod(int fd, mode_t mode) noexcept
{
    return owner_calls.fchmod_fails ? Fail() : static_cast<int>(syscall(SYS_fchmod, fd, mode));
}

extern "C" int fchown(int fd, uid_t uid, gid_t gid) noexcept
{
    return owner_calls.fchown_fails ? Fail() : static_cast<int>(syscall(SYS_fchown, fd, uid, gid));
}
