// Queue files are shared with the daemons that empty them: the lock and the append keep lines whole. Whether a
// request is already there is looked up before the lock, so two writers may both append it.
#include "photo/job_queue.h"

#include <errno.h>
#include <fcntl.h>
#include <libgen.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/features.h"
#include "common/log.h"
#include "common/paths.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "job_queue";

static constexpr int LINE_SIZE = 4097;         // a line of 4096 bytes and its terminator
static constexpr int LOOKUP_FLAGS = 0x404;     // of NLIBFileGetLine
static constexpr int ACCESS_RETRIES_MAX = 16;  // a second apart
static constexpr mode_t QUEUE_FILE_MODE = 0777;

static int RequestAppend(int fd, const char *request, const char *queue_file)
{
    if (flock(fd, LOCK_EX) != 0) {
        LogPlain("%s: %s(%d) - failed to lock file descriptor of %s, reason=%s", LOG_MODULE, "WriteThumbQueue",
                 __LINE__, queue_file, strerror(errno));
        return -1;
    }
    char line[LINE_SIZE];
    int length = snprintf(line, sizeof line, "%s\n", request);
    ssize_t written = write(fd, line, static_cast<size_t>(length));
    if (written == length)
        return 0;
    if (written >= 0)
        errno = ENOSPC;  // a short write: the volume is full
    LogPlain("%s: %s(%d) - failed to write (%s, %d) into %s, reason=%s", LOG_MODULE, "WriteThumbQueue",
             __LINE__, request, length - 1, queue_file, strerror(errno));
    return -1;
}

static bool IsExpressible(const char *request)
{
    return strlen(request) < LINE_SIZE - 1 && !strchr(request, '\n');
}

int WriteThumbQueue(const char *request, const char *queue_file)
{
    if (!request || !queue_file)
        return -1;
    if (!IsExpressible(request)) {
        LogParen(LOG_HERE, "Not a queue line [%s].", request);
        return -1;
    }
    for (int retries = 0;;) {
        char line[LINE_SIZE] = "";
        int found = NLIBFileGetLine(queue_file, request, line, sizeof line, LOOKUP_FLAGS);
        if (found > 0 && strlen(line) == strlen(request))
            return 0;
        int flags = O_RDWR | O_SYNC | (found < 0 ? O_CREAT | O_EXCL | O_TRUNC : O_APPEND);
        int fd = open(queue_file, flags, QUEUE_FILE_MODE);
        if (fd >= 0) {
            int result = RequestAppend(fd, request, queue_file);
            (void)flock(fd, LOCK_UN);
            (void)close(fd);
            return result;
        }
        int reason = errno;
        LogPlain("(%s, %d) open(%s, %d) failed, reason=%s\n", LOG_MODULE, __LINE__, queue_file, flags,
                 strerror(reason));
        if (reason != EACCES || ++retries > ACCESS_RETRIES_MAX)
            return -1;
        (void)sleep(1);
    }
}

// The folder whose photos need thumbnails, cut in place out of the copy of a path; null when the file gets none.
static char *ThumbRequest(char *path, bool is_folder)
{
    if (is_folder)
        return path;
    return BlNUBOIndexIsPhotoOnWebFile(path) ? dirname(path) : nullptr;
}

// `pid` is left alone when no thumbnails are wanted. True when the daemon is to be woken.
static bool ThumbQueue(const char *path, bool is_folder, int *pid)
{
    char *copy = strdup(path);
    if (!copy) {
        LogPlain("%s(%d) failed to strdup %s, reason=%s\n", LOG_MODULE, __LINE__, path, strerror(errno));
        return false;
    }
    bool queued = false;
    const char *request = ThumbRequest(copy, is_folder);
    if (request) {
        *pid = NLIBReadPidFile(THUMB_DAEMON_PID_PATH);
        if (*pid > 0)
            queued = WriteThumbQueue(request, THUMB_QUEUE_PATH) >= 0;
        else
            LogPlain("%s(%d) Thumb daemon is not running .....\n", LOG_MODULE, __LINE__);
    }
    free(copy);
    return queued;
}

static bool FlvQueue(const char *path, bool is_folder, int *pid)
{
    if (!is_folder && !BlNUBOIndexIsVideoOnWebFile(path))
        return false;
    *pid = NLIBReadPidFile(FLV_DAEMON_PID_PATH);
    if (*pid > 0)
        return WriteThumbQueue(path, FLV_QUEUE_PATH) >= 0;
    LogPlain("%s(%d) FLV daemon is not running .....\n", LOG_MODULE, __LINE__);
    return false;
}

void QueueMediaConversion(const char *path, int bits)
{
    struct stat status;
    if (!path || stat(path, &status) != 0)
        return;
    bool is_folder = S_ISDIR(status.st_mode);
    if (!is_folder && !S_ISREG(status.st_mode))
        return;

    // One process id for both: after both steps only the converter is woken, even for thumbnails alone.
    int pid = 0;
    bool thumb_queued = false;
    bool flv_queued = false;
    if ((bits & CONVERT_THUMB) && supportphoto)
        thumb_queued = ThumbQueue(path, is_folder, &pid);
    if ((bits & CONVERT_FLV) && supportphoto && supportcinehall)
        flv_queued = FlvQueue(path, is_folder, &pid);
    if (!thumb_queued && !flv_queued)
        return;
    if (pid > 0)
        (void)kill(pid, SIGUSR1);
    else  // 0 and below would address whole process groups
        LogPlain("%s(%d) Process id %d is no daemon, nobody is signalled.\n", LOG_MODULE, __LINE__, pid);
}
