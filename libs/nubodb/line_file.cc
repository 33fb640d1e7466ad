// Several processes add to these files, and a full disk or the end of a process may cut a line.
#include "nubodb/line_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

// Behind a torn last line a new one begins.
static std::string LinesBehind(int file, off_t size, const std::string &lines)
{
    char last = '\n';
    bool torn = size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n';
    return torn ? "\n" + lines : lines;
}

int LineFileAppend(int file, const char *path, const std::string &lines)
{
    struct stat before = {};
    (void)fstat(file, &before);
    std::string text = LinesBehind(file, before.st_size, lines);
    ssize_t written = write(file, text.data(), text.size());
    if (written == static_cast<ssize_t>(text.size()))
        return 0;
    int error = written < 0 ? errno : ENOSPC;
    if (written > 0 && ftruncate(file, before.st_size) != 0)
        syslog(LOG_ERR, "nubodb: %s: a line was cut off", path);
    errno = error;
    return -1;
}

int LineFileOpen(const char *path, mode_t mode)
{
    int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    if (file >= 0 && fchmod(file, mode) != 0)
        syslog(LOG_WARNING, "nubodb: %s: %s", path, strerror(errno));
    if (file < 0 && errno == EEXIST)
        file = open(path, O_RDWR | O_APPEND | O_CLOEXEC | O_NONBLOCK);
    return file;
}

std::vector<std::string> LineFileRest(FILE *file)
{
    std::vector<std::string> lines;
    char *line = nullptr;
    size_t capacity = 0;
    for (ssize_t length = 0; (length = getline(&line, &capacity, file)) > 0;)
        if (length > 1 && line[length - 1] == '\n')
            lines.emplace_back(line, static_cast<size_t>(length) - 1);
    free(line);
    return lines;
}

std::vector<std::string> LineFileRead(const std::string &path)
{
    std::vector<std::string> lines;
    FILE *file = fopen(path.c_str(), "re");
    if (file) {
        lines = LineFileRest(file);
        fclose(file);
    }
    return lines;
}
