// A pid file outlives a killed daemon. SIGUSR1 ends most processes, so the name is checked before it is sent.
#include "daemon_process.h"

#include <errno.h>
#include <signal.h>

#include <fstream>
#include <iterator>

#include "common/paths.h"
#include "platform/sdk.h"

static constexpr char DAEMON_NAME[] = "nuboindexd";

// Also true where the system does not show the command line: then the pid file must do. The name may stand behind
// that of an emulator or a debugger.
static bool IsDaemonCommand(int pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
    if (!file)
        return true;
    std::string command{std::istreambuf_iterator<char>(file), {}};
    return command.find(DAEMON_NAME) != std::string::npos;
}

int DaemonPid()
{
    int pid = NLIBReadPidFile(DAEMON_PID_PATH);
    if (pid < 1)
        return 0;
    if (kill(pid, 0) != 0 && errno != EPERM)
        return 0;
    return IsDaemonCommand(pid) ? pid : 0;
}

DaemonSignalResult DaemonSignal()
{
    int pid = DaemonPid();
    if (pid == 0)
        return DAEMON_NOT_RUNNING;
    if (kill(pid, SIGUSR1) == 0)
        return DAEMON_SIGNALLED;
    return errno == EPERM ? DAEMON_NOT_PERMITTED : DAEMON_NOT_RUNNING;
}
