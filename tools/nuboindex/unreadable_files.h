// The files whose contents the daemon could not read, as the event log has them.
#pragma once

#include <time.h>

#include <string>
#include <vector>

struct UnreadableFile {
    time_t time;
    std::string path;
};

// The event log's file.
std::string EventLogFile();

// The oldest first; the same file as often as it failed.
std::vector<UnreadableFile> UnreadableFilesRead();

// Counts again and again without reading a log that has not changed.
class UnreadableFileCounter
{
  public:
    long CountSince(time_t time);  // files of this moment or later

  private:
    time_t looked = 0;
    time_t changed = 0;
    long size = -1;
    long count = 0;
};
