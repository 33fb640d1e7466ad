// The file holds one change a line and is only added to, by the process that meets the failure; whoever queues them
// takes it away by a rename first, so that nothing noted meanwhile is lost. A lock keeps two of those apart.
#include "nubodb/missed.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <vector>

#include "nlib/config.h"
#include "nubodb/database.h"
#include "nubodb/line_file.h"
#include "nubodb/missed_requests.h"

static constexpr char EVERY_PHOTO[] = "R:photo";
static constexpr int TAKE_OVERS_MAX = 100;  // of the queue, in a row; the daemon needs ten seconds for one

static constexpr size_t NOTED_MAX =
    100000;  // beyond, a change may be noted twice, which costs time and no more

static bool emptying = false;        // a table's was noted in this batch
static std::set<std::string> noted;  // by this process in this batch
static std::string unwritten;        // lines that the file did not take
static bool failure_logged = false;

static std::string NotesPath()
{
    return std::string(PlatformSetting("state_dir")) + "/missed";
}

// Held until the descriptor is closed. On a file system without locks, or with nothing to write on, things go on
// without.
static int NotesLock()
{
    int lock = open((NotesPath() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock >= 0)
        (void)flock(lock, LOCK_EX);
    return lock;
}

static void NotesUnlock(int lock)
{
    if (lock >= 0)
        close(lock);
}

// --- writing

static int NotesAppend(const std::string &lines)
{
    int lock = NotesLock();
    std::string path = NotesPath();
    int file = LineFileOpen(path.c_str(), 0644);
    int result = file < 0 ? -1 : LineFileAppend(file, path.c_str(), lines);
    int error = errno;
    if (file >= 0)
        close(file);
    NotesUnlock(lock);
    errno = error;
    return result;
}

static void UnwrittenWrite()
{
    if (unwritten.empty())
        return;
    if (NotesAppend(unwritten) == 0) {
        unwritten.clear();
        failure_logged = false;
    } else if (!failure_logged) {
        syslog(LOG_ERR,
               "nubodb: %s: %s; changes that the database missed are only known as long as this process lives",
               NotesPath().c_str(), strerror(errno));
        failure_logged = true;
    }
}

size_t MissedCount()
{
    size_t in_memory = 0;
    for (char byte : unwritten)
        in_memory += byte == '\n';
    return LineFileRead(NotesPath()).size() + LineFileRead(NotesPath() + ".queued").size() + in_memory;
}

// --- noting

// A request is a line. A path that cannot be in one is looked at from the folder above.
static std::string AsLine(const std::string &change)
{
    size_t end = change.find('\n');
    if (end == change.npos)
        return change;
    size_t slash = change.rfind('/', end);
    return slash == change.npos || slash < 2 ? "R:all" : "s" + change.substr(1, slash - 1);
}

static void LineAdd(const std::string &line)
{
    if (noted.size() >= NOTED_MAX)
        noted.clear();
    if (noted.insert(line).second)
        unwritten += line + "\n";
}

static void RenamesAdd()
{
    for (const std::string &line : LineFileRead(std::string(PlatformSetting("queue")) + ".tmp")) {
        if (line.starts_with("N:"))
            LineAdd(line);
    }
}

void MissedNote(const std::string &change)
{
    std::string line = AsLine(change);
    if (noted.contains(line))
        return;
    if (line == EVERY_PHOTO)
        RenamesAdd();
    emptying = emptying || line.starts_with("T:");
    LineAdd(line);
    UnwrittenWrite();
}

bool MissedEmptying()
{
    return emptying;
}

void MissedBatchBegin()
{
    emptying = false;
    noted.clear();
}

// --- queueing

// Done here and not by a request, which would come behind the requests that wait already and undo them. 0 or -1.
static int TablesEmpty(const std::vector<std::string> &changes)
{
    for (const char *table : {"music", "video", "photo", "playlist", "directory"}) {
        if (std::find(changes.begin(), changes.end(), std::string("T:") + table) == changes.end())
            continue;
        std::string sql = std::string("delete from ") + table;
        if (DbExecute(DbOpen(DB_MEDIA), sql.c_str(), nullptr) < 0 || DbSync() < 0)
            return -1;
    }
    return 0;
}

static bool IsStillTheQueue(int queue, const char *path)
{
    struct stat ours, named;
    return fstat(queue, &ours) == 0 && stat(path, &named) == 0 && ours.st_dev == named.st_dev &&
           ours.st_ino == named.st_ino;
}

// The daemon takes the queue over by a rename: what was written into a file that was no longer the queue may never be
// read, and is written again.
static int QueueAppend(const char *path, const std::string &requests)
{
    errno = EAGAIN;
    for (int attempt = 0; attempt < TAKE_OVERS_MAX; attempt++) {
        int queue = LineFileOpen(path, 0666);
        if (queue < 0)
            return -1;
        bool failed = LineFileAppend(queue, path, requests) < 0 || (fdatasync(queue) != 0 && errno != EINVAL);
        int error = errno;
        bool done = !failed && IsStillTheQueue(queue, path);
        close(queue);
        errno = error;
        if (failed || done)
            return failed ? -1 : 0;
    }
    return -1;
}

// What the file does not take may find room in the queue, which is on another file system as a rule. Nobody is woken:
// the requests wait for a batch that somebody wants.
static void UnwrittenQueue()
{
    FILE *text = unwritten.empty() ? nullptr : fmemopen(unwritten.data(), unwritten.size(), "r");
    if (!text)
        return;
    int count = 0;
    std::vector<std::string> changes = LineFileRest(text);
    fclose(text);
    std::string requests = MissedRequests(changes, &count);
    requests = MissedEmptyings(changes, &count) + requests;
    if (QueueAppend(PlatformSetting("queue"), requests) < 0)
        return;
    syslog(LOG_NOTICE, "nubodb: %d requests for what the databases missed are queued", count);
    unwritten.clear();
    failure_logged = false;
}

void MissedFlush()
{
    UnwrittenWrite();
    UnwrittenQueue();
    int file = open(NotesPath().c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    (void)fsync(file);
    close(file);
}

static int NotesQueue(const std::string &notes)
{
    std::string taken = notes + ".queued";
    // A file that is there already was taken by somebody who did not come to its end.
    if (access(taken.c_str(), F_OK) != 0 && rename(notes.c_str(), taken.c_str()) != 0 && errno != ENOENT) {
        syslog(LOG_ERR, "nubodb: %s: %s", notes.c_str(), strerror(errno));
        return -1;
    }
    int count = 0;
    const char *queue = PlatformSetting("queue");
    std::vector<std::string> changes = LineFileRead(taken);
    if (TablesEmpty(changes) < 0)
        return -1;
    std::string requests = MissedRequests(changes, &count);
    if (!requests.empty() && QueueAppend(queue, requests) < 0) {
        syslog(LOG_ERR, "nubodb: %s: %s", queue, strerror(errno));
        return -1;
    }
    if (unlink(taken.c_str()) != 0 && errno != ENOENT) {
        syslog(LOG_ERR, "nubodb: %s: %s", taken.c_str(), strerror(errno));
        return -1;
    }
    if (count > 0)
        syslog(LOG_NOTICE, "nubodb: %d requests for what the databases missed are queued", count);
    return count;
}

// Twice, where somebody did not come to his end: his file first, then the one that has been written since.
int MissedQueue()
{
    UnwrittenWrite();
    int lock = NotesLock();
    std::string notes = NotesPath();
    int count = NotesQueue(notes);
    if (count >= 0 && access(notes.c_str(), F_OK) == 0) {
        int more = NotesQueue(notes);
        count = more < 0 ? more : count + more;
    }
    NotesUnlock(lock);
    return count;
}
