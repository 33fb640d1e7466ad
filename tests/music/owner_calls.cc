#include "music/owner_calls.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

OwnerCalls owner_calls;

static int Fail()
{
    errno = EPERM;
    return -1;
}

extern "C" int chmod(const char *path, mode_t mode) noexcept
{
    return owner_calls.chmod_fails ? Fail() : static_cast<int>(syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

extern "C" int chown(const char *path, uid_t uid, gid_t gid) noexcept
{
    owner_calls.last_uid = static_cast<int>(uid);
    owner_calls.last_gid = static_cast<int>(gid);
    return owner_calls.chown_fails ? Fail()
                                   : static_cast<int>(syscall(SYS_fchownat, AT_FDCWD, path, uid, gid, 0));
}
