// The file is emptied, never removed: whoever has it open and waits for the lock then still writes into the queue.
#include "common/request_queue.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>

static constexpr size_t LINE_MAX_BYTES = 4096;  // with the line feed
static constexpr size_t BLOCK = 64 << 10;

// A descriptor that has the lock; -1 with errno.
static int QueueLock(const char *queue_path, int flags)
{
    int queue = open(queue_path, flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
    if (queue < 0)
        return -1;
    struct stat status;
    if (fstat(queue, &status) == 0 && S_ISREG(status.st_mode)) {
        while (flock(queue, LOCK_EX) != 0) {
            if (errno != EINTR) {
                close(queue);
                return -1;
            }
        }
        return queue;
    }
    close(queue);
    errno = EINVAL;  // a pipe or a device is no queue
    return -1;
}

static bool IsRequest(const std::string &line)
{
    return line.size() < LINE_MAX_BYTES && line.starts_with('/') && line.find('\0') == std::string::npos;
}

// Collects the lines of a file that comes in blocks. What is too long for a line is not kept.
struct LineCollector {
    std::vector<std::string> &lines;
    std::set<std::string> seen;
    std::string line;

    void Feed(const char *block, size_t size)
    {
        for (size_t i = 0; i < size; i++) {
            if (block[i] == '\n')
                LineEnd();
            else if (line.size() < LINE_MAX_BYTES)
                line += block[i];
        }
    }

    void LineEnd()
    {
        if (IsRequest(line) && seen.insert(line).second)
            lines.push_back(line);
        line.clear();
    }
};

static int LinesRead(int queue, std::vector<std::string> &lines)
{
    LineCollector collector = {lines, {}, {}};
    std::vector<char> block(BLOCK);
    ssize_t length;
    while ((length = read(queue, block.data(), block.size())) > 0)
        collector.Feed(block.data(), static_cast<size_t>(length));
    collector.LineEnd();  // a last line without a line feed
    return length < 0 ? -1 : 0;
}

int RequestQueueMake(const char *queue_path)
{
    int queue = QueueLock(queue_path, O_CREAT);
    if (queue < 0)
        return -1;
    close(queue);
    return 0;
}

int RequestsTake(const char *queue_path, std::vector<std::string> &requests)
{
    requests.clear();
    struct stat status;
    if (stat(queue_path, &status) != 0 && errno == ENOENT)
        return 0;
    int queue = QueueLock(queue_path, 0);
    if (queue < 0)
        return -1;
    int result = LinesRead(queue, requests);
    if (result == 0)
        result = ftruncate(queue, 0);
    close(queue);  // and the lock with it
    return result;
}

int RequestAppend(const char *queue_path, const std::string &request)
{
    std::string line = request + "\n";
    if (!IsRequest(request) || request.find('\n') != std::string::npos) {
        errno = EINVAL;
        return -1;
    }
    int queue = QueueLock(queue_path, O_CREAT | O_APPEND);
    if (queue < 0)
        return -1;
    std::vector<std::string> present;
    int result = LinesRead(queue, present);
    bool is_there = false;
    for (const std::string &other : present)
        is_there = is_there || other == request;
    if (result == 0 && !is_there && write(queue, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        result = -1;
    close(queue);
    return result;
}
