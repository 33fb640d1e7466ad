// Ten ticks a second, each with a look at the child's memory. The end of the child is not left to the ticks: a
// pidfd wakes the wait at once, so a healthy probe costs only the time that the demuxer needs.
#include "video/probe_watchdog.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "common/log.h"
#include "common/paths.h"
#include "video/probe_limits.h"

static constexpr char LOG_MODULE[] = "probe_watchdog";

// -1 where the system has no pidfd.
static int PidFdOpen(pid_t pid)
{
#ifdef SYS_pidfd_open
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
    (void)pid;
    return -1;
#endif
}

// Sleeps one tick, or less when the child ends. SIGUSR1 stays blocked meanwhile: producers that signal often must
// not make the ticks shorter.
static void TickWait(int pid_fd)
{
    timespec tick = {0, PROBE_LIMITS.poll_nanoseconds};
    if (pid_fd < 0) {
        while (nanosleep(&tick, &tick) != 0 && errno == EINTR)
            continue;
        return;
    }
    sigset_t blocked;
    (void)sigprocmask(SIG_BLOCK, nullptr, &blocked);
    sigaddset(&blocked, SIGUSR1);
    pollfd end_of_child = {pid_fd, POLLIN, 0};
    (void)ppoll(&end_of_child, 1, &tick, &blocked);
}

static int ExitStatus(pid_t pid, int status)
{
    static constexpr int STOPPED = 0x7f;
    int low_bits = status & 0x7f;
    if (low_bits == STOPPED)
        return -1;
    if (low_bits != 0) {
        LogColon(LOG_HERE, "Process %d killed by signal %d", pid, low_bits);
        return -1;
    }
    return (status >> 8) & 0xff;
}

static int WatchedWait(pid_t pid, int pid_fd)
{
    int polls = 0;
    for (;;) {
        TickWait(pid_fd);
        int status = 0;
        pid_t ended = waitpid(pid, &status, WNOHANG);
        if (ended == pid)
            return ExitStatus(pid, status);
        if (ended < 0)
            return -1;  // not a child of ours: nothing to wait for, and nothing that may be killed
        if (polls > PROBE_LIMITS.polls_max) {
            MediaProbeKill(pid);
            LogColon(LOG_HERE, "Process %d exceeded max loop count: %d, sec: %d, nsec: %d.", pid, polls, 0,
                     static_cast<int>(PROBE_LIMITS.poll_nanoseconds));
            return -1;
        }
        polls++;
        if (MediaProbeMemExceeded(pid)) {
            MediaProbeKill(pid);
            LogColon(LOG_HERE, "Process %d exceeded max memory usage.", pid);
            return -1;
        }
    }
}

int MediaProbeWait(pid_t pid)
{
    if (pid <= 0) {
        LogColon(LOG_HERE, "Bad parameters.");
        return -1;
    }
    int pid_fd = PidFdOpen(pid);
    int result = WatchedWait(pid, pid_fd);
    if (pid_fd >= 0)
        close(pid_fd);
    return result;
}

// The number behind `key` in the first line that begins with it. False when no line does.
static bool KeyedNumberRead(FILE *file, const char *key, long long *number)
{
    char line[512];
    size_t key_length = strlen(key);
    while (fgets(line, sizeof line, file)) {
        if (strncmp(line, key, key_length) != 0)
            continue;
        char *end = nullptr;
        *number = strtoll(line + key_length, &end, 10);
        if (end != line + key_length)
            return true;
    }
    return false;
}

bool MediaProbeMemExceeded(pid_t pid)
{
    FILE *meminfo = fopen(MEMINFO_PATH, "r");
    if (!meminfo) {
        LogColon(LOG_HERE, "Cannot open /proc/meminfo");
        return false;
    }
    long long total_kb = 0;
    bool has_total = KeyedNumberRead(meminfo, "MemTotal:", &total_kb);
    fclose(meminfo);
    if (!has_total) {
        LogColon(LOG_HERE, "Cannot get MemTotal value.");
        return false;
    }

    char status_path[64];
    snprintf(status_path, sizeof status_path, "/proc/%d/status", pid);
    FILE *status = fopen(status_path, "r");
    if (!status)
        return false;
    long long resident_kb = 0;
    bool has_resident = KeyedNumberRead(status, "VmRSS:", &resident_kb);
    fclose(status);
    if (!has_resident)
        return false;
    return resident_kb > static_cast<long long>(static_cast<double>(total_kb) * PROBE_LIMITS.memory_share);
}

void MediaProbeKill(pid_t pid)
{
    (void)kill(pid, SIGKILL);
    (void)waitpid(pid, nullptr, 0);
}
