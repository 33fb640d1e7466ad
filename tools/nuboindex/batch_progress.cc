// The daemon's position in its work file is public: /proc shows it for every open file.
#include "batch_progress.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/paths.h"
#include "queue_line.h"

namespace fs = std::filesystem;

// The C library reads a file in blocks of at most this size.
static constexpr long READ_BLOCK_MAX = 8192;

// Lines as the daemon takes them: a longer one comes in pieces.
struct LineCounter {
    long ended = 0;
    size_t open_bytes = 0;  // of the line that has begun

    void Add(int byte)
    {
        open_bytes++;
        if (byte == '\n' || open_bytes == QUEUE_LINE_MAX) {
            ended++;
            open_bytes = 0;
        }
    }
    long AtEnd() const
    {
        return ended + (open_bytes > 0);
    }
};

// Counts the lines of a file and, on the way, those that have ended at two positions. -1 when it cannot be read.
static long LinesCount(const char *path, const long (&positions)[2], long (&ended)[2])
{
    FILE *file = fopen(path, "re");
    if (!file)
        return errno == ENOENT ? 0 : -1;
    LineCounter lines;
    ended[0] = ended[1] = 0;
    int byte = 0;
    for (long position = 1; (byte = getc(file)) != EOF; position++) {
        lines.Add(byte);
        for (int i = 0; i < 2; i++) {
            if (position <= positions[i])
                ended[i] = lines.ended;
        }
    }
    long count = ferror(file) ? -1 : lines.AtEnd();
    fclose(file);
    return count;
}

long QueueLineCount(const char *path)
{
    long ended[2];
    return LinesCount(path, {0, 0}, ended);
}

// Looks through the open files of a process. -1 when the file is not among them or may not be seen.
static long ReadPosition(int pid, const struct stat &wanted)
{
    std::string process = "/proc/" + std::to_string(pid);
    std::error_code error;
    for (fs::directory_iterator entry(process + "/fd", error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat status;
        if (stat(entry->path().c_str(), &status) != 0 || status.st_dev != wanted.st_dev ||
            status.st_ino != wanted.st_ino)
            continue;
        std::ifstream info(process + "/fdinfo/" + entry->path().filename().string());
        std::string key;
        long position = 0;
        if (info >> key >> position && key == "pos:")
            return position;
    }
    return -1;
}

BatchProgress BatchProgressRead(int daemon_pid)
{
    BatchProgress progress = {};
    struct stat status;
    if (stat(INDEX_QUEUE_WORK_PATH, &status) != 0)
        return progress;
    progress.exists = true;
    long position = daemon_pid > 0 ? ReadPosition(daemon_pid, status) : -1;
    long block = std::clamp(static_cast<long>(status.st_blksize), 1L, READ_BLOCK_MAX);
    long ended[2] = {};
    progress.line_count = LinesCount(INDEX_QUEUE_WORK_PATH, {position - block, position}, ended);
    if (position <= 0 || progress.line_count <= 0)
        return progress;

    // The last block was read because the line in hand did not end before it.
    progress.line_min = std::min(ended[0] + 1, progress.line_count);
    bool at_end = position >= status.st_size;
    progress.line_max = at_end ? progress.line_count : std::max(ended[1], progress.line_min);
    return progress;
}
