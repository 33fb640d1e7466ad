// Watches one batch from its first sight to its end.
#pragma once

#include <sys/stat.h>

#include <memory>

#include "batch_count.h"
#include "batch_view.h"
#include "request_wait.h"
#include "unreadable_files.h"
#include "work_rate.h"

class BatchWatch
{
  public:
    // `work` is the work file as it was found, `daemon_pid` who does it.
    BatchWatch(const struct stat &work, int daemon_pid);

    // Whether the work file and the daemon are those of this batch.
    bool IsOf(const struct stat &work, int daemon_pid) const;
    bool IsIn(const struct stat &work) const;  // whoever does it

    // Whether these requests are in the batch.
    bool Holds(const RequestWait &requests) const;

    // Looks at the daemon and fills what concerns the batch. Takes up to a twentieth of a second.
    void Look(BatchView *view);

    // The batch is over: everything in it is done.
    void End(BatchView *view);

  private:
    void PlaceFind(const ProcessView &process);
    bool FileFind(const ProcessView &process);
    bool PlaceTake(const OpenFile &file);
    void Fill(BatchView *view, double now);

    struct stat work;
    int daemon_pid;
    double began;  // wall clock
    std::unique_ptr<BatchCount> count;
    WorkRate rate;
    UnreadableFileCounter failures;
    LineRange range = {};  // where the line in hand must be
    BatchPlace place = {};
    std::string file, folder;
    double step_time;  // of the last step that was seen
};

// Seconds of a clock that only goes forward.
double SteadySeconds();
