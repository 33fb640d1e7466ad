// Start-up and end of the process: second-instance test, pid file, signal handlers, feature switches.
#pragma once

// True when the process named by a pid file exists. Null is false.
bool IsDaemonAlive(const char *pid_path);

// Turns the process into a daemon with its pid file written. 0; -1 when the caller must exit with status 1. A
// pid file that cannot be created ends the process with status 0.
int DaemonStart(void);

// Installs SetDirty (main_loop.h) for SIGUSR1 and Die for SIGTERM. 0 or -1.
int SignalHandlersInstall(void);

// The SIGTERM handler: removes the pid file and ends the process with status 0, wherever it was. A batch that
// is cut off is done again at the next start.
void Die(int signal_number);

// Reads the two feature switches.
void FeaturesRead(void);

// Finishes an interrupted batch, then runs the batch that waits in the queue; each only when its file exists.
void PendingWorkProcess(void);
