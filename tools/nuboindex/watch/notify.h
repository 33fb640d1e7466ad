// Tells the service manager how the watcher is doing, when one asked for it.
#pragma once

#include <string>

// Sends "READY=1" and the like to the socket named by NOTIFY_SOCKET; nothing happens without one.
void ServiceNotify(const std::string &message);
