// The daemon's position in its work file is public: /proc shows it for every open file.
#include "batch_progress.h"

#include <sys/stat.h>

#include "common/paths.h"
#include "progress/process_files.h"
#include "progress/work_lines.h"

static long LineCount(const WorkLines &work)
{
    return work.is_known ? static_cast<long>(work.lines.size()) : -1;
}

long QueueLineCount(const char *path)
{
    return LineCount(WorkLinesRead(path));
}

BatchProgress BatchProgressRead(int daemon_pid)
{
    BatchProgress progress = {};
    struct stat status;
    if (stat(INDEX_QUEUE_WORK_PATH, &status) != 0)
        return progress;
    progress.exists = true;
    // The position comes first: a line that it tells of must be among those that are counted.
    long position = daemon_pid > 0 ? PositionIn(ProcessViewRead(daemon_pid), status) : -1;
    WorkLines work = WorkLinesRead(INDEX_QUEUE_WORK_PATH);
    progress.line_count = LineCount(work);
    LineRange range = LineRangeAt(work.lines, position, ReadBlock(static_cast<long>(status.st_blksize)));
    progress.line_min = range.first;
    progress.line_max = range.last;
    return progress;
}
