// nuboindexd: keeps the media and photo databases in step with the files of the shared folders.
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "daemon/lifecycle.h"
#include "daemon/main_loop.h"
#include "platform/sdk.h"

static constexpr int DAEMON_NICE = 10;  // below interactive work

int main(int argc, char **argv)
{
    umask(0);
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        NLIBCopyright();
        return 0;
    }
    if (DaemonStart() < 0)
        return 1;
    (void)setpriority(PRIO_PROCESS, 0, DAEMON_NICE);
    if (SignalHandlersInstall() < 0)
        return 1;

    static constexpr MainLoopClock clock = {sleep, time};
    MainLoopStart(&clock);
    FeaturesRead();
    PendingWorkProcess();
    for (;;)
        MainLoopPass(&clock);
}
