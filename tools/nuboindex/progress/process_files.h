// What a process and its children have open, as /proc shows it.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <vector>

struct OpenFile {
    std::string path;  // as the system names it
    dev_t device;
    ino_t inode;
    bool is_folder;
    bool is_regular;
    long position;  // how far it has been read; in a folder the file system's own mark
};

struct ProcessView {
    bool is_visible;     // false: nobody but root and its own user may look into it
    char state;          // as in /proc/PID/stat: 'S' asleep, 'T' stopped; 0 when there is no such process
    std::string folder;  // the current one
    std::vector<OpenFile> files;
    std::vector<OpenFile> child_files;  // of its children, without those that the process has open itself
};

ProcessView ProcessViewRead(int pid);

// How far the process has read the file; -1 when it has not opened it, or may not be seen.
long PositionIn(const ProcessView &process, const struct stat &file);

// Seconds since the machine's start at which the process began; 0 when there is no such process.
double ProcessStartRead(int pid);
