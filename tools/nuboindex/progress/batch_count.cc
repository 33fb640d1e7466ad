// A line becomes visible when it has been counted whole: a folder of 100,000 files takes less than a second.
#include "batch_count.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

BatchCount::BatchCount(std::vector<WorkLine> of) : lines(std::move(of)), thread([this] { Run(); })
{
}

BatchCount::~BatchCount()
{
    stop = true;
    thread.join();
}

const std::vector<WorkLine> &BatchCount::Lines() const
{
    return lines;
}

// The daemon must not wait for the disk because somebody looks on. Both calls concern this thread alone.
static void PriorityLower()
{
    static constexpr int IOPRIO_WHO_PROCESS = 1, IDLE_CLASS = 3 << 13, NICE_LEAST = 19;
    pid_t self = static_cast<pid_t>(syscall(SYS_gettid));
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(self), NICE_LEAST);
    (void)syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, self, IDLE_CLASS);
}

void BatchCount::Run()
{
    PriorityLower();
    for (const WorkLine &line : lines) {
        FileCount count;
        for (const PlannedWalk &walk : PlannedWalks(line.text)) {
            if (!count.Walk(walk, stop))
                return;
        }
        std::lock_guard lock(mutex);
        before.push_back(total);
        total.files += count.Total().files;
        total.bytes += count.Total().bytes;
        counts.push_back(std::move(count));
    }
}

BatchTotal BatchCount::Total()
{
    std::lock_guard lock(mutex);
    return {total, counts.size() == lines.size()};
}

BatchTotal BatchCount::LineTotal(long line)
{
    std::lock_guard lock(mutex);
    size_t index = static_cast<size_t>(line) - 1;
    if (line < 1 || index >= counts.size())
        return {};
    return {counts[index].Total(), true};
}

FileTotal BatchCount::LineBefore(long line)
{
    std::lock_guard lock(mutex);
    size_t index = static_cast<size_t>(std::max(line, 1L)) - 1;
    return index < before.size() ? before[index] : total;
}

static std::optional<FileTotal> BeforeIn(const FileCount &count, const OpenFile &file)
{
    std::optional<FileTotal> place = count.Before(file.path);
    if (!file.is_folder || !place)
        return place;
    std::optional<FileTotal> marked = count.BeforeMark(file.path, file.position);
    return marked ? marked : place;
}

std::optional<BatchPlace> BatchCount::PlaceOf(const OpenFile &file, LineRange range)
{
    std::lock_guard lock(mutex);
    long last = std::min(range.last, static_cast<long>(counts.size()));
    for (long line = std::max(range.first, 1L); line <= last; line++) {
        size_t index = static_cast<size_t>(line) - 1;
        if (std::optional<FileTotal> place = BeforeIn(counts[index], file))
            return BatchPlace{line, {before[index].files + place->files, before[index].bytes + place->bytes}};
    }
    return std::nullopt;
}
