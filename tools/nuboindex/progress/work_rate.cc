// The rate is the mean over a window: long enough to swallow a slow file, short enough to follow a slower disk.
#include "work_rate.h"

static constexpr double WINDOW_SECONDS = 30;
static constexpr double STEP_SECONDS = 0.5;   // between two moments that are kept
static constexpr double LEAST_SECONDS = 1.0;  // to tell a rate

void WorkRate::Add(double time, int64_t files)
{
    bool is_new = moments.size() < 2 || time - moments[moments.size() - 2].time >= STEP_SECONDS;
    if (is_new)
        moments.push_back({time, files});
    else
        moments.back() = {time, files};
    while (moments.size() > 2 && time - moments[1].time >= WINDOW_SECONDS)
        moments.pop_front();
}

double WorkRate::FilesPerSecond() const
{
    if (moments.size() < 2)
        return 0;
    double seconds = moments.back().time - moments.front().time;
    if (seconds < LEAST_SECONDS)
        return 0;
    return static_cast<double>(moments.back().files - moments.front().files) / seconds;
}

double WorkRate::SecondsUntil(int64_t files) const
{
    double rate = FilesPerSecond();
    if (moments.empty() || rate <= 0)
        return -1;
    return static_cast<double>(files - moments.back().files) / rate;
}
