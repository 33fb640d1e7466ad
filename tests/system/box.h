// The box as its users see it: files under fixed paths, a daemon that is started and signalled, a system log. For
// test programs that run inside scripts/sandbox, one test in each; everything they leave behind goes with it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

inline constexpr char QUEUE[] = "/var/spool/nubo_indexing_queue";
inline constexpr char WORK_FILE[] = "/var/spool/nubo_indexing_queue.tmp";
inline constexpr char PID_FILE[] = "/var/run/nuboindexd.pid";
inline constexpr char DMS_PID_FILE[] = "/var/run/dms.pid";
inline constexpr char MUSIC_SERVER_PID_FILE[] = "/var/run/mt-daapd.pid";

using Texts = std::vector<std::string>;

bool Exists(const std::string &path);

// A file of the build tree ("bin/nuboindexd"), and one of the samples ("music/Various/wave.wav").
std::string Built(std::string_view name);
std::string Sample(std::string_view name);

// Files and folders with everything above them. `FileAppend` is what a producer does.
void FileWrite(const std::string &path, std::string_view content);
void FileAppend(const std::string &path, std::string_view content);
std::string FileRead(const std::string &path);
void FileCopy(const std::string &from, const std::string &to);

// A program that was run to its end; `output` is what it wrote on both streams.
struct Finished {
    int status;  // as wait gives it
    std::string output;
};
Finished ProgramRun(const Texts &command, const Texts &environment = {});

// Starts a program that goes on; it ends with the test. Both its streams are added to the file. Its pid.
pid_t ProgramStart(const Texts &command, const std::string &output_file);

// Looks again and again until the condition holds. False when it does not within the time.
bool WaitUntil(double seconds, const std::function<bool()> &condition);

// Starts a daemon and comes back when its pid file is written; its pid. The test becomes the parent of the
// daemon, so that its end can be seen. `DaemonStart` also waits until it can be ended in good order.
pid_t DaemonLaunch(const Texts &environment = {}, const std::string &program = "nuboindexd");
pid_t DaemonStart(const Texts &environment = {}, const std::string &program = "nuboindexd");

// Waits until a daemon without pending work has come to its main loop and sleeps there.
void DaemonSettle(pid_t pid);

// The pid in the pid file; 0 without one.
pid_t DaemonPid();

// Ends the daemon by the signal and gives its wait status; -1 when it does not end.
int DaemonEnd(pid_t pid, int signal_number);

// Waits until queue and work file are gone and the media server (this process, when BecomeMediaServer was called)
// was told so. False after the time.
bool BatchesWait(double seconds = 60);

// Writes this process's pid where the daemon looks for a server's.
void BecomeMediaServer();
void BecomeMusicServer();

// True when such a signal came since the last call, or comes within the time.
bool SignalArrived(int signal_number, double seconds = 0);

// One daemon's life: the lines are queued, a daemon is started, executes them and is ended by SIGTERM.
void Index(const Texts &lines, const Texts &environment = {}, const std::string &program = "nuboindexd");

// What daemons have logged so far, without program and level; line numbers of the source replaced by "#". Control
// characters appear as in C.
Texts Log();

// The same, as it stands in the log.
Texts RawLog();

// Seconds since some fixed moment.
double Clock();
