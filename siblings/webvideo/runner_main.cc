// nubomkflvd: makes the web copies of the videos in its queue, one at a time.
#include "common/paths.h"
#include "common/queue_daemon.h"
#include "webvideo/web_video.h"

int main(int argc, char **argv)
{
    return QueueDaemonRun({"nubomkflvd", FLV_QUEUE_PATH, FLV_DAEMON_PID_PATH, WebVideoRequestServe}, argc,
                          argv);
}
