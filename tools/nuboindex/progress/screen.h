// Where the view is shown: redrawn in place on a terminal, line by line elsewhere, or nowhere.
#pragma once

#include <string>

#include "batch_view.h"
#include "output.h"

class Screen
{
  public:
    Screen(const Output &output, bool is_quiet);
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    // Whether anybody looks; if not, there is no need to find out what to show.
    bool IsShown() const;

    // Seconds between two views that are worth showing.
    double Interval() const;

    // Shows the view instead of the one before. Without a terminal: one line for each change, one a second at most.
    void Show(const BatchView &view);

    // A line that stays.
    void Say(const std::string &text);

    // Takes the view away and makes the terminal as it was. The next Show brings it back.
    void Clear();

  private:
    void Draw(const BatchView &view);
    void LinePrint(const BatchView &view);

    const Output &output;
    enum { NOWHERE, LINES, TERMINAL } mode;
    bool is_drawn = false;
    std::string last_state;  // of the line that was printed last, and when
    double last_time = 0;
    int64_t last_files = 0;
};
