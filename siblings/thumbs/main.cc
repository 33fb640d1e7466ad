// nubomkthumbd: makes the thumbnails that the indexing daemon asks for, one folder a request.
#include <syslog.h>

#include "common/paths.h"
#include "common/queue_daemon.h"
#include "thumbs/thumbnail.h"

static void FolderServe(const std::string &folder)
{
    ThumbnailCount count = FolderThumbnailsMake(folder);
    if (count.made > 0)
        syslog(LOG_INFO, "%d thumbnails made in %s", count.made, folder.c_str());
}

int main(int argc, char **argv)
{
    if (!ThumbnailLibraryStart())
        return 1;
    return QueueDaemonRun({"nubomkthumbd", THUMB_QUEUE_PATH, THUMB_DAEMON_PID_PATH, FolderServe}, argc, argv);
}
