// Where events come from: one interface, two mechanisms of the kernel.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "watch/event.h"

struct EventSource {
    virtual ~EventSource() = default;

    // "fanotify" or "inotify".
    virtual const char *Name() const = 0;

    // Begins to tell what happens to the names in a folder, whose path must be free of symbolic links, and to those
    // below when `with_folders` says so. It may tell more. False, with a reason, when it cannot.
    virtual bool Watch(const std::string &folder, bool with_folders, std::string &reason) = 0;

    // To be polled for reading.
    virtual int Descriptor() const = 0;

    // Adds what has happened; does not wait. Called now and then even when there is nothing to read.
    virtual void Read(std::vector<WatchEvent> &events) = 0;

    // What cannot be watched and why; empty when all can.
    virtual std::string Limit() const = 0;
};

// Whole file systems, with both ends of a rename in one event. Needs the right to administrate the system, Linux 5.17
// and a file system with file handles. Null, with a reason, when it is not to be had.
std::unique_ptr<EventSource> FanotifyOpen(std::string &reason);

// One watch for every folder, of which a user has a limited number.
std::unique_ptr<EventSource> InotifyOpen(std::string &reason);
