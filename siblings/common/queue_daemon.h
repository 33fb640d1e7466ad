// What the two queue daemons have in common: start, pid file, waiting, end.
#pragma once

#include <string>

struct QueueDaemon {
    const char *name;
    const char *queue_path;
    const char *pid_path;
    void (*request_serve)(const std::string &request);  // returns early when the end is announced
};

// Serves the queue until SIGTERM; "-f" keeps the process in the foreground. Returns the exit status: 0, 1 when it
// runs already or cannot write its pid file, 2 for a command line that is not understood.
int QueueDaemonRun(const QueueDaemon &daemon, int argc, char **argv);
