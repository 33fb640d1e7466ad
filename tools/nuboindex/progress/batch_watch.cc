// The position in the work file tells about where the daemon is; a file or folder that it has open tells exactly. Most
// files are open for less than a millisecond, so a look goes on until one was seen, or for a short while.
#include "batch_watch.h"

#include <time.h>

#include <algorithm>

#include "common/paths.h"

static double ClockSeconds(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double SteadySeconds()
{
    return ClockSeconds(CLOCK_MONOTONIC);
}

// The take-over is the last change of the work file's name. After an interruption the batch begins with the daemon.
static double BatchBegin(const struct stat &work, int daemon_pid)
{
    double renamed = static_cast<double>(work.st_ctim.tv_sec) + static_cast<double>(work.st_ctim.tv_nsec) / 1e9;
    double boot = ClockSeconds(CLOCK_REALTIME) - ClockSeconds(CLOCK_BOOTTIME);
    double started = boot + ProcessStartRead(daemon_pid);
    return std::min(std::max(renamed, started), ClockSeconds(CLOCK_REALTIME));
}

BatchWatch::BatchWatch(const struct stat &of, int by)
    : work(of), daemon_pid(by), began(BatchBegin(of, by)),
      count(std::make_unique<BatchCount>(WorkLinesRead(INDEX_QUEUE_WORK_PATH).lines)),
      step_time(SteadySeconds())
{
}

bool BatchWatch::IsIn(const struct stat &other) const
{
    return other.st_dev == work.st_dev && other.st_ino == work.st_ino;
}

bool BatchWatch::IsOf(const struct stat &other, int by) const
{
    return IsIn(other) && by == daemon_pid;
}

bool BatchWatch::Holds(const RequestWait &requests) const
{
    return requests.IsIn(work);
}

// The daemon never goes back: a place that lies behind belongs to a later request that walks the same files.
bool BatchWatch::PlaceTake(const OpenFile &seen)
{
    LineRange from = {std::max(range.first, place.line), range.last};
    std::optional<BatchPlace> found = count->PlaceOf(seen, from);
    if (found && found->before.files < place.before.files) {
        std::optional<BatchPlace> later = count->PlaceOf(seen, {found->line + 1, range.last});
        found = later ? later : found;
    }
    if (!found)
        return false;
    bool is_ahead = found->before.files >= place.before.files;
    if (is_ahead && (found->line != place.line || found->before.files != place.before.files))
        step_time = SteadySeconds();
    if (is_ahead)
        place = *found;
    return true;
}

bool BatchWatch::FileFind(const ProcessView &process)
{
    for (const auto *files : {&process.child_files, &process.files}) {
        for (const OpenFile &seen : *files) {
            if (!seen.is_regular || seen.inode == work.st_ino || !PlaceTake(seen))
                continue;
            if (file != seen.path)
                step_time = SteadySeconds();
            file = seen.path;
            return true;
        }
    }
    return false;
}

void BatchWatch::PlaceFind(const ProcessView &process)
{
    long position = PositionIn(process, work);
    LineRange now = LineRangeAt(count->Lines(), position, ReadBlock(static_cast<long>(work.st_blksize)));
    if (now.last > 0) {
        if (now.first > range.first || now.last > range.last)
            step_time = SteadySeconds();
        range = now;
    }
    // The deepest folder of the walk is the one that was opened last.
    OpenFile current = {process.folder, 0, 0, true, false, -1};
    for (const OpenFile &seen : process.files) {
        if (seen.is_folder && seen.path.size() > 1)
            current = seen;
    }
    if (PlaceTake(current))
        folder = current.path;
}

void BatchWatch::Look(BatchView *view)
{
    static constexpr int LOOKS_MAX = 12;
    static constexpr timespec PAUSE = {0, 3'000'000};
    for (int look = 0; look < LOOKS_MAX; look++) {
        ProcessView process = ProcessViewRead(daemon_pid);
        view->is_stopped = process.state == 'T' || process.state == 't';
        view->is_hidden = process.state && !process.is_visible;
        PlaceFind(process);
        if (FileFind(process) || view->is_stopped || !process.is_visible)
            break;
        nanosleep(&PAUSE, nullptr);
    }
    Fill(view, SteadySeconds());
}

void BatchWatch::Fill(BatchView *view, double now)
{
    BatchTotal total = count->Total();
    long line = std::max({place.line, range.first, 0L});
    FileTotal before = count->LineBefore(line);
    if (place.before.files < before.files)
        place = {line, before};
    rate.Add(now, place.before.files);
    view->line = line;
    view->line_count = static_cast<long>(count->Lines().size());
    view->request = line > 0 && line <= view->line_count
                        ? RequestText(count->Lines()[static_cast<size_t>(line) - 1].text)
                        : "";
    view->done = place.before;
    view->total = total.files;
    view->is_counted = total.is_whole;
    view->line_total = count->LineTotal(line).files;
    view->line_done = {place.before.files - before.files, place.before.bytes - before.bytes};
    view->file = file;
    view->folder = folder;
    view->elapsed = ClockSeconds(CLOCK_REALTIME) - began;
    view->since_step = now - step_time;
    view->files_per_second = rate.FilesPerSecond();
    view->seconds_left = total.is_whole ? rate.SecondsUntil(total.files.files) : -1;
    view->failures = failures.CountSince(static_cast<time_t>(began));
}

void BatchWatch::End(BatchView *view)
{
    Fill(view, SteadySeconds());
    view->line = view->line_count;
    view->done = view->total;
}
