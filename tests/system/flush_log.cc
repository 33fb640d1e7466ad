// Loaded in front of the C library: one line in /tmp/flush.log for each write to a database's log, each flush of one, and
// each signal that is sent.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static void Note(const char *what, const char *whom)
{
    int log = open("/tmp/flush.log", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (log < 0)
        return;
    dprintf(log, "%s %s\n", what, whom);
    close(log);
}

static void NoteFile(const char *what, int file)
{
    char link[64], name[4096];
    snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    ssize_t length = readlink(link, name, sizeof name - 1);
    if (length < 1)
        return;
    name[length] = '\0';
    if (strstr(name, ".db"))
        Note(what, name);
}

template <typename Function>
static Function Original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

extern "C" int fdatasync(int file)
{
    NoteFile("flush", file);
    return Original<int (*)(int)>("fdatasync")(file);
}

extern "C" int fsync(int file)
{
    NoteFile("flush", file);
    return Original<int (*)(int)>("fsync")(file);
}

extern "C" ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t at)
{
    NoteFile("write", file);
    return Original<ssize_t (*)(int, const void *, size_t, off64_t)>("pwrite64")(file, bytes, size, at);
}

extern "C" int kill(pid_t process, int signal_number) noexcept
{
    Note("signal", strsignal(signal_number));
    return Original<int (*)(pid_t, int)>("kill")(process, signal_number);
}
