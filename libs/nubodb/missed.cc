// The file holds one change a line and is only added to, by the process that meets the failure; whoever queues them
// takes it away by a rename first, so that nothing noted meanwhile is lost.
#include "nubodb/missed.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <set>
#include <vector>

#include "nlib/config.h"

static constexpr char QUEUE[] = "/var/spool/nubo_indexing_queue";

static std::set<std::string> noted;  // by this process; emptied when they are queued
static std::string unwritten;        // lines that the file did not take
static bool failure_logged = false;

static std::string NotesPath()
{
    return std::string(PlatformSetting("state_dir")) + "/missed";
}

// A request is a line. A path that cannot be in one is looked at from the folder above.
static std::string AsLine(const std::string &change)
{
    size_t end = change.find('\n');
    if (end == change.npos)
        return change;
    size_t slash = change.rfind('/', end);
    return slash == change.npos || slash < 2 ? "R:all" : "s" + change.substr(1, slash - 1);
}

// Writes all of it or, as far as that can be had, nothing.
static int LinesAppend(const std::string &path, const std::string &lines)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0)
        return -1;
    struct stat before = {};
    (void)fstat(file, &before);
    ssize_t written = write(file, lines.data(), lines.size());
    bool complete = written == static_cast<ssize_t>(lines.size());
    int error = complete ? 0 : written < 0 ? errno : ENOSPC;
    if (!complete && written > 0 && ftruncate(file, before.st_size) != 0)
        syslog(LOG_ERR, "nubodb: %s: a line was cut off", path.c_str());
    if (complete && fdatasync(file) != 0)
        error = errno == EINVAL ? 0 : errno;
    close(file);
    errno = error;
    return error ? -1 : 0;
}

void MissedFlush()
{
    if (unwritten.empty())
        return;
    if (LinesAppend(NotesPath(), unwritten) == 0) {
        unwritten.clear();
        failure_logged = false;
    } else if (!failure_logged) {
        syslog(LOG_ERR,
               "nubodb: %s: %s; changes that the database missed are only known as long as this process lives",
               NotesPath().c_str(), strerror(errno));
        failure_logged = true;
    }
}

void MissedNote(const std::string &change)
{
    std::string line = AsLine(change);
    if (!noted.insert(line).second)
        return;
    unwritten += line + "\n";
    MissedFlush();
}

static std::vector<std::string> LinesRead(const std::string &path)
{
    std::vector<std::string> lines;
    FILE *file = fopen(path.c_str(), "re");
    if (!file)
        return lines;
    char *line = nullptr;
    size_t capacity = 0;
    for (ssize_t length = 0; (length = getline(&line, &capacity, file)) > 1;)
        if (line[length - 1] == '\n')
            lines.emplace_back(line, static_cast<size_t>(length) - 1);
    free(line);
    fclose(file);
    return lines;
}

size_t MissedCount()
{
    std::string taken = NotesPath() + ".queued";
    size_t in_memory = 0;
    for (char byte : unwritten)
        in_memory += byte == '\n';
    return LinesRead(NotesPath()).size() + LinesRead(taken).size() + in_memory;
}

static std::string RequestFor(const std::string &change)
{
    if (change[0] != 'f' && change[0] != 's')
        return change;
    std::string path = change.substr(1);
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return "D:" + path;
    bool only_itself = change[0] == 'f' && S_ISDIR(status.st_mode);
    return (only_itself ? "a:" : "A:") + path;
}

// Each once, where it was missed first.
static std::string RequestsFor(const std::vector<std::string> &changes, int *count)
{
    std::set<std::string> seen;
    std::string requests;
    for (const std::string &change : changes) {
        std::string request = RequestFor(change);
        if (seen.insert(request).second)
            requests += request + "\n";
    }
    *count = static_cast<int>(seen.size());
    return requests;
}

int MissedQueue()
{
    std::string notes = NotesPath();
    std::string taken = notes + ".queued";
    MissedFlush();
    // A file that is there already was taken by somebody who did not come to its end.
    if (access(taken.c_str(), F_OK) != 0 && rename(notes.c_str(), taken.c_str()) != 0 && errno != ENOENT) {
        syslog(LOG_ERR, "nubodb: %s: %s", notes.c_str(), strerror(errno));
        return -1;
    }
    int count = 0;
    std::string requests = RequestsFor(LinesRead(taken), &count);
    if (!requests.empty() && LinesAppend(QUEUE, requests) < 0) {
        syslog(LOG_ERR, "nubodb: %s: %s", QUEUE, strerror(errno));
        return -1;
    }
    noted.clear();
    (void)unlink(taken.c_str());
    if (count > 0)
        syslog(LOG_NOTICE, "nubodb: %d changes that the database missed are queued again", count);
    return count;
}
