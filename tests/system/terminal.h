// A terminal as a person sees it: a program runs in it, and its screen can be read.
#pragma once

#include <string>

#include "system/box.h"

class Terminal
{
  public:
    // Runs a shell command in a window of this size.
    Terminal(const std::string &command, int columns, int rows);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void Resize(int columns, int rows);
    void Press(const std::string &key);  // as tmux names it: "C-c"

    // The lines of the screen, and those that have left it at the top, without the blanks at their ends.
    Texts Screen();

    bool IsCursorShown();

    // Waits until the text is on the screen; the screen then, or an empty one after the time.
    Texts WaitFor(const std::string &text, double seconds = 30);
};

// The lines as one text.
std::string Joined(const Texts &lines);
