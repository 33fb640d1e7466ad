// Programs run to completion, and pid files.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "nlib/exported.h"

// The child starts with no signal blocked or ignored, whatever the caller does with its own.
static int SpawnAttributesSet(posix_spawnattr_t *attributes)
{
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    if (posix_spawnattr_setsigdefault(attributes, &all) || posix_spawnattr_setsigmask(attributes, &none))
        return -1;
    return posix_spawnattr_setflags(attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) ? -1 : 0;
}

static pid_t ProgramStart(char **arguments)
{
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes))
        return -1;
    pid_t pid = -1;
    if (SpawnAttributesSet(&attributes) < 0 ||
        posix_spawn(&pid, arguments[0], nullptr, &attributes, arguments, environ))
        pid = -1;
    posix_spawnattr_destroy(&attributes);
    return pid;
}

int NLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4)
{
    if (!program)
        return -1;
    const char *words[] = {program, arg1, arg2, arg3, arg4, nullptr};
    pid_t pid = ProgramStart(const_cast<char **>(words));  // exec does not write to its arguments
    if (pid < 0)
        return -1;

    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static ssize_t FileStartRead(const char *path, char *text, size_t size)
{
    int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // a FIFO must not stop the caller
    if (fd < 0)
        return -1;
    ssize_t length = read(fd, text, size);
    close(fd);
    return length;
}

int NLIBReadPidFile(const char *path)
{
    char text[64];
    ssize_t length = path ? FileStartRead(path, text, sizeof text) : -1;
    if (length <= 0 || length == static_cast<ssize_t>(sizeof text))
        return 0;
    text[length] = '\0';
    if (strlen(text) != static_cast<size_t>(length))
        return 0;
    StringTrim(text);

    int pid = 0;
    for (const char *digit = text; *digit; digit++) {
        int value = *digit - '0';
        if (value < 0 || value > 9 || pid > (INT_MAX - value) / 10)
            return 0;
        pid = pid * 10 + value;
    }
    return pid;
}
