// The running daemon, found through its pid file.
#pragma once

#include <string>

// The pid of the running daemon; 0 when it is not running. A process that got the number of a dead daemon is not
// taken for it.
int DaemonPid();

enum DaemonSignalResult {
    DAEMON_SIGNALLED,
    DAEMON_NOT_RUNNING,
    DAEMON_NOT_PERMITTED,  // it runs, but this user may not signal it
};

// Tells the daemon that requests are queued.
DaemonSignalResult DaemonSignal();
