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

// Behind a torn last line a new one begins.
static std::string LinesBehind(int file, off_t size, const std::string &lines)
{
    char last = '\n';
    bool torn = size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n';
    return torn ? "\n" + lines : lines;
}

// Writes all of it or, as far as that can be had, nothing. 0; -1 with errno.
static int LinesWrite(int file, const char *path, const std::string &lines)
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

// The file's mode does not depend on the umask, which is 0 in the daemon.
static int AppendOpen(const char *path, mode_t mode)
{
    int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    if (file >= 0 && fchmod(file, mode) != 0)
        syslog(LOG_WARNING, "nubodb: %s: %s", path, strerror(errno));
    if (file < 0 && errno == EEXIST)
        file = open(path, O_RDWR | O_APPEND | O_CLOEXEC | O_NONBLOCK);
    return file;
}

static int NotesAppend(const std::string &lines)
{
    int lock = NotesLock();
    std::string path = NotesPath();
    int file = AppendOpen(path.c_str(), 0644);
    int result = file < 0 ? -1 : LinesWrite(file, path.c_str(), lines);
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

// --- reading

static std::vector<std::string> LinesOf(FILE *file)
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

static std::vector<std::string> LinesRead(const std::string &path)
{
    std::vector<std::string> lines;
    FILE *file = fopen(path.c_str(), "re");
    if (file) {
        lines = LinesOf(file);
        fclose(file);
    }
    return lines;
}

size_t MissedCount()
{
    size_t in_memory = 0;
    for (char byte : unwritten)
        in_memory += byte == '\n';
    return LinesRead(NotesPath()).size() + LinesRead(NotesPath() + ".queued").size() + in_memory;
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
    for (const std::string &line : LinesRead(std::string(PlatformSetting("queue")) + ".tmp")) {
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

static bool IsThere(const std::string &path, bool *is_folder)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return false;
    *is_folder = S_ISDIR(status.st_mode);
    return true;
}

// What the rename left behind may have come back meanwhile, and the media rows below it go by its name alone.
static std::string RenameRequest(const std::string &change)
{
    size_t colon = change.find(':', 2);
    bool is_folder = false;
    if (colon == change.npos || !IsThere(change.substr(colon + 1), &is_folder))
        return change + "\n";
    return change + "\nA:" + change.substr(colon + 1) + "\n";
}

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

// What empties a table where that cannot be done here.
static std::string EmptyingRequests(const std::vector<std::string> &changes, int *count)
{
    std::string requests;
    for (const std::string &change : changes) {
        if (change.starts_with("T:")) {
            requests += change + "\n";
            ++*count;
        }
    }
    return requests;
}

// Empty for what is no change of ours: power failures leave odd lines.
static std::string RequestFor(const std::string &change)
{
    if (change.starts_with("N:"))
        return RenameRequest(change);
    if (change.starts_with("R:"))
        return change + "\n";
    if ((change[0] != 'f' && change[0] != 's') || change[1] != '/')
        return "";
    std::string path = change.substr(1);
    bool is_folder = false;
    if (!IsThere(path, &is_folder))
        return "D:" + path + "\n";
    bool only_itself = change[0] == 'f' && is_folder;
    return (only_itself ? "a:" : "A:") + path + "\n";
}

// Each once, where it was missed first; the pass over the photos comes behind everything.
static std::string RequestsFor(const std::vector<std::string> &changes, int *count)
{
    std::set<std::string> seen;
    std::string requests;
    bool every_photo = false;
    for (const std::string &change : changes) {
        every_photo = every_photo || change == EVERY_PHOTO;
        if (change != EVERY_PHOTO && seen.insert(change).second)
            requests += RequestFor(change);
    }
    if (every_photo)
        requests += RequestFor(EVERY_PHOTO);
    *count = 0;
    for (char byte : requests)
        *count += byte == '\n';
    return requests;
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
        int queue = AppendOpen(path, 0666);
        if (queue < 0)
            return -1;
        bool failed = LinesWrite(queue, path, requests) < 0 || (fdatasync(queue) != 0 && errno != EINVAL);
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
    std::vector<std::string> changes = LinesOf(text);
    fclose(text);
    std::string requests = RequestsFor(changes, &count);
    requests = EmptyingRequests(changes, &count) + requests;
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
    std::vector<std::string> changes = LinesRead(taken);
    if (TablesEmpty(changes) < 0)
        return -1;
    std::string requests = RequestsFor(changes, &count);
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
