// The folder of these files is writable by the box's users, and this process is root's: only a new plain file is written
// there, and no link is followed on the way.
#include "photodb/given_text.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include "platform/sdk.h"

static constexpr int FILE_PATH_SIZE = 4096;

// An old kernel does not know the call; nothing is written then.
static int NewFileOpen(const char *path)
{
    struct open_how how = {};
    how.flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    how.mode = 0644;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how));
}

static bool TextWrite(int file, const std::string &text)
{
    return write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void GivenTextRestore(const std::string &path, const char *key, const std::string &text,
                      const std::string &usual)
{
    char place[FILE_PATH_SIZE];
    if (text.empty() || text == usual || NUBOEAPath(path.c_str(), key, place, sizeof place) != 0)
        return;
    int file = NewFileOpen(place);
    if (file < 0) {
        if (errno != ENOENT && errno != EEXIST)
            syslog(LOG_ERR, "photodb: %s: %s", place, strerror(errno));
        return;
    }
    if (!TextWrite(file, text))
        syslog(LOG_ERR, "photodb: %s: %s", place, strerror(errno));
    close(file);
}
