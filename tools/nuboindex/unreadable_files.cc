// The event's number is the daemon's.
#include "unreadable_files.h"

#include <sys/stat.h>

#include <set>

#include "nlib/config.h"
#include "nlib/event_log.h"

static constexpr unsigned int UNREADABLE_FILE = 0x11B00510;  // a file that is stored with defaults only

std::string EventLogFile()
{
    return std::string(PlatformSetting("state_dir")) + "/event.log";
}

std::vector<UnreadableFile> UnreadableFilesRead()
{
    std::vector<UnreadableFile> files;
    for (const EventLogRow &row : EventLogRead()) {
        if (row.event == UNREADABLE_FILE)
            files.push_back({row.time, row.texts[0]});
    }
    return files;
}

long UnreadableFileCounter::CountSince(time_t since)
{
    struct stat status = {};
    (void)stat(EventLogFile().c_str(), &status);
    time_t now = time(nullptr);
    bool is_known = status.st_size == size && status.st_mtime == changed;
    if (is_known || now == looked)
        return count;
    looked = now;
    changed = status.st_mtime;
    size = status.st_size;
    std::set<std::string> paths;
    for (const UnreadableFile &file : UnreadableFilesRead()) {
        if (file.time >= since)
            paths.insert(file.path);
    }
    count = static_cast<long>(paths.size());
    return count;
}
