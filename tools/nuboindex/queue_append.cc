// The daemon takes the queue over by renaming it and reads what it then finds. A line is safe when the file still
// had the queue's name after the write: the rename, and all reading, come later.
#include "queue_append.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr int TAKE_OVERS_MAX = 100;  // in a row; the daemon needs ten seconds for one

int QueueOpen(const char *queue_path)
{
    mode_t mask = umask(0);
    int queue = open(queue_path, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    umask(mask);
    struct stat status;
    if (queue < 0 || fstat(queue, &status) != 0 || S_ISREG(status.st_mode))
        return queue;
    close(queue);
    errno = EINVAL;  // a pipe or a device is no queue
    return -1;
}

static bool IsStillTheQueue(int queue, const char *queue_path)
{
    struct stat ours, named;
    return fstat(queue, &ours) == 0 && stat(queue_path, &named) == 0 && ours.st_dev == named.st_dev &&
           ours.st_ino == named.st_ino;
}

static bool EndsWithinLine(int queue)
{
    off_t size = lseek(queue, 0, SEEK_END);
    char last = '\n';
    return size > 0 && pread(queue, &last, 1, size - 1) == 1 && last != '\n';
}

QueueWriteResult QueueWrite(int queue, const char *queue_path, const std::string &line)
{
    std::string text = EndsWithinLine(queue) ? "\n" + line : line;
    ssize_t written = write(queue, text.data(), text.size());
    if (written == static_cast<ssize_t>(text.size()))
        return IsStillTheQueue(queue, queue_path) ? QUEUE_WRITTEN : QUEUE_TAKEN_OVER;
    if (written >= 0)
        errno = ENOSPC;  // what follows a torn line starts with a line feed
    return QUEUE_FAILED;
}

static QueueWriteResult LineAppend(int *queue, const char *queue_path, const std::string &line)
{
    for (int attempt = 0; attempt < TAKE_OVERS_MAX; attempt++) {
        if (*queue < 0)
            *queue = QueueOpen(queue_path);
        if (*queue < 0)
            return QUEUE_FAILED;
        QueueWriteResult result = QueueWrite(*queue, queue_path, line);
        if (result != QUEUE_TAKEN_OVER)
            return result;
        close(*queue);
        *queue = -1;
    }
    errno = EAGAIN;
    return QUEUE_FAILED;
}

size_t QueueAppend(const char *queue_path, const std::vector<std::string> &lines, std::string &reason,
                   int *kept)
{
    int queue = -1;
    size_t appended = 0;
    while (appended < lines.size() && LineAppend(&queue, queue_path, lines[appended]) == QUEUE_WRITTEN)
        appended++;
    if (appended < lines.size())
        reason = std::string("cannot append to ") + queue_path + ": " + strerror(errno);
    if (kept)
        *kept = queue;
    else if (queue >= 0)
        close(queue);
    return appended;
}
