// The parent's side of a probe: shared mapping, fork, wait. The child leaves by _exit, so that nothing of the
// daemon (buffers, handlers, database handles) is finished twice.
#include "video/probe.h"

#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "common/log.h"
#include "video/probe_parse.h"
#include "video/probe_watchdog.h"

static constexpr char LOG_MODULE[] = "probe";

[[noreturn]] static void ProbeChildRun(const char *path, MediaInfoRecord *shared)
{
    // Die would remove the daemon's pid file.
    if (signal(SIGTERM, SIG_DFL) == SIG_ERR) {
        LogColon(LOG_HERE, "signal(SIGTERM, SIG_DFL) failed.");
        _exit(1);
    }
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // no child outlives the daemon
    if (MediaProbeParse(path, shared) == 0)
        _exit(0);
    LogParen(LOG_HERE, "Failed to get Misc Media Info from [%s].", path);
    _exit(1);
}

int MediaProbeRun(const char *path, MediaInfoRecord *record)
{
    void *mapping = mmap(nullptr, sizeof *record, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) {
        LogColon(LOG_HERE, "mmap() failed.");
        return -1;
    }
    MediaInfoRecord *shared = static_cast<MediaInfoRecord *>(mapping);
    memcpy(shared, record, sizeof *record);

    pid_t pid = fork();
    if (pid < 0) {
        LogColon(LOG_HERE, "fork failed.");
        (void)munmap(mapping, sizeof *record);
        return -1;
    }
    if (pid == 0)
        ProbeChildRun(path, shared);

    int result = MediaProbeWait(pid);
    memcpy(record, shared, sizeof *record);
    (void)munmap(mapping, sizeof *record);
    return result;
}
