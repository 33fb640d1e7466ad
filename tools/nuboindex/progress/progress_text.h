// The view of the daemon's work as text.
#pragma once

#include <string>
#include <vector>

#include "batch_view.h"

struct TextStyle {
    int width;    // columns
    bool blocks;  // the terminal knows block characters
    bool colours;
};

// For a terminal: one to five lines, none wider than the terminal; `height` is how many there is room for.
std::vector<std::string> ProgressLines(const BatchView &view, const TextStyle &style, int height);

// One line for a log, without its line feed.
std::string ProgressLine(const BatchView &view);

// What a batch came to, in one line.
std::string SummaryLine(const BatchView &view);

// How much is done, from 0 to 1; below 0 while that cannot be told. 1 is left to the end.
double DoneShare(const BatchView &view);
