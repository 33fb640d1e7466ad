// A batch may be shorter than the time between two looks, so the system notes the renaming for us.
#include "request_wait.h"

#include <limits.h>
#include <string.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <string>

#include "common/paths.h"

RequestWait::RequestWait(int of) : queue(of), events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    (void)fstat(queue, &identity);
    std::string name = "/proc/self/fd/" + std::to_string(queue);
    if (events >= 0 && inotify_add_watch(events, name.c_str(), IN_MOVE_SELF) < 0) {
        close(events);
        events = -1;
    }
}

RequestWait::~RequestWait()
{
    if (events >= 0)
        close(events);
    close(queue);
}

bool RequestWait::IsIn(const struct stat &file) const
{
    return file.st_dev == identity.st_dev && file.st_ino == identity.st_ino;
}

static bool WasMoved(int events)
{
    alignas(inotify_event) char buffer[sizeof(inotify_event) + NAME_MAX + 1];
    bool moved = false;
    while (read(events, buffer, sizeof buffer) > 0)
        moved = true;  // nothing else is watched but the end of the watch, which comes after it
    return moved;
}

bool RequestWait::IsNamed(const char *path) const
{
    struct stat named;
    return stat(path, &named) == 0 && IsIn(named);
}

RequestState RequestWait::State()
{
    // In this order: a file on its way from one name to the next is found under one of them, or is gone; and when it
    // is gone, the note of its last renaming is there.
    bool is_queue = IsNamed(INDEX_QUEUE_PATH);
    bool is_work = IsNamed(INDEX_QUEUE_WORK_PATH);
    struct stat now = {};
    bool is_gone = fstat(queue, &now) != 0 || now.st_nlink == 0;
    was_taken_over = was_taken_over || is_work || (events >= 0 && WasMoved(events));
    if (is_gone)
        return was_taken_over || events < 0 ? REQUEST_DONE : REQUEST_LOST;
    if (is_work)
        return REQUEST_IN_HAND;
    return is_queue ? REQUEST_QUEUED : REQUEST_LOST;
}
