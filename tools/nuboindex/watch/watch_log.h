// Messages of the watcher: on standard error, which the service manager keeps, and in the system log where nobody else
// keeps them.
#pragma once

#include <string>

void WatchLog(const std::string &message);
