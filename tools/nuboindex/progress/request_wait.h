// Knows for certain whether queued requests have been executed.
//
// A request stands in a file. The daemon takes that file over by giving it the work file's name, and removes it when
// all its lines are done. So whoever keeps the file open needs no name: once it has none, and had the work file's
// before, it is done.
#pragma once

#include <sys/stat.h>

enum RequestState {
    REQUEST_QUEUED,
    REQUEST_IN_HAND,  // taken over; also while an interrupted batch waits for the daemon's next start
    REQUEST_DONE,
    REQUEST_LOST,  // somebody else removed or renamed the queue: nobody will execute it
};

class RequestWait
{
  public:
    // Takes the open queue file over, which was still the queue when the last request was written to it. To be made
    // before the daemon is woken.
    explicit RequestWait(int queue);
    ~RequestWait();
    RequestWait(const RequestWait &) = delete;
    RequestWait &operator=(const RequestWait &) = delete;

    RequestState State();

    // Whether the requests stand in this file.
    bool IsIn(const struct stat &file) const;

  private:
    bool IsNamed(const char *path) const;

    int queue;
    int events;  // of the file's names; -1 where the system has no more of these watches
    struct stat identity = {};
    bool was_taken_over = false;
};
