// nuboflvconv -f PATH: has a web copy of a video made. The indexing daemon calls it for every video that browsers do
// not play and waits for it, so it only puts the path into the queue of nubomkflvd and wakes that: a folder of films
// is indexed in minutes while the conversion takes its hours, one film at a time, and goes on after a restart.
// Exit status 0: queued; 1: no video, or no queue; 2: the command line is not understood.
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include "common/paths.h"
#include "common/request_queue.h"
#include "platform/sdk.h"
#include "webvideo/web_video.h"

int main(int argc, char **argv)
{
    if (argc != 3 || strcmp(argv[1], "-f") != 0) {
        fprintf(stderr, "usage: %s -f PATH\n", argv[0]);
        return 2;
    }
    if (!IsVideoFile(argv[2]) || RequestAppend(FLV_QUEUE_PATH, argv[2]) < 0)
        return 1;  // without a word: it is also called for whatever the index could not read
    int runner = NLIBReadPidFile(FLV_DAEMON_PID_PATH);
    if (runner > 0)
        (void)kill(runner, SIGUSR1);  // one that starts later finds the request
    return 0;
}
