// Runs a command line of the tool inside the test, and a process that passes for the daemon.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

// RunTool({"add", "/x"}); a width makes it believe that it prints on a terminal.
ToolResult RunTool(const std::vector<std::string> &arguments, int width = 0);

// A sleeping process whose command line begins with `name`, its pid in the daemon's pid file. Ended with the object.
struct SleepingProcess {
    pid_t pid;

    explicit SleepingProcess(const char *name);
    ~SleepingProcess();

    // The signal that ended it, waited for five seconds; 0 when none did.
    int EndSignal();
};
