// The lines of a queue or work file, as the daemon takes them.
#pragma once

#include <string>
#include <vector>

struct WorkLine {
    long end;          // where the line ends in the file, its line feed included
    std::string text;  // without the line feed
};

struct WorkLines {
    bool is_known;  // false: the file cannot be read
    std::vector<WorkLine> lines;
};

// A file that is not there has no lines.
WorkLines WorkLinesRead(const char *path);

// The line in hand, counted from 1, is one of these or between them. Both 0: unknown, or not yet begun.
struct LineRange {
    long first;
    long last;
};

// The daemon reads its file in blocks, so that its position tells only in which block the line in hand ends.
LineRange LineRangeAt(const std::vector<WorkLine> &lines, long position, long block);

// What the C library reads at once from a file of this preferred block size.
long ReadBlock(long preferred);
