// The tool's own entry point, with its output caught.
#include "tool_run.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "command.h"
#include "common/paths.h"
#include "support/scratch.h"

ToolResult RunTool(const std::vector<std::string> &arguments, int width)
{
    std::vector<const char *> argv = {"nuboindex"};
    for (const std::string &argument : arguments)
        argv.push_back(argument.c_str());
    std::ostringstream out, err;
    int status = ToolRun(static_cast<int>(argv.size()), argv.data(), Output{out, err, width});
    return {status, out.str(), err.str()};
}

SleepingProcess::SleepingProcess(const char *name) : pid(0)
{
    const char *argv[] = {name, "60", nullptr};
    posix_spawn(&pid, "/bin/sleep", nullptr, nullptr, const_cast<char *const *>(argv), environ);
    while (ReadFile("/proc/" + std::to_string(pid) + "/cmdline").empty())
        usleep(1000);  // the parent goes on a moment before the new command line can be seen
    WriteFile(DAEMON_PID_PATH, std::to_string(pid));
}

SleepingProcess::~SleepingProcess()
{
    if (pid < 1)
        return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

int SleepingProcess::EndSignal()
{
    static constexpr int TRIES = 5000;
    int status = 0;
    for (int i = 0; i < TRIES; i++) {
        if (waitpid(pid, &status, WNOHANG) == pid) {
            pid = 0;
            return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        }
        usleep(1000);
    }
    return 0;
}
