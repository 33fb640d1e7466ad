// How fast the work goes and how long it will take, from a few of its past moments.
#pragma once

#include <stdint.h>

#include <deque>

class WorkRate
{
  public:
    void Add(double time, int64_t files);  // seconds of any clock; files done by then, never fewer than before

    // Over the last half minute, or what there is of it; 0 while that is too short to tell.
    double FilesPerSecond() const;

    // Until so many files are done; below 0 while it cannot be told.
    double SecondsUntil(int64_t files) const;

  private:
    struct Moment {
        double time;
        int64_t files;
    };
    std::deque<Moment> moments;
};
