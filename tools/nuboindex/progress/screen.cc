// Between two drawings the cursor rests, hidden, at the beginning of the first line. When the window changes its size
// and the terminal breaks the lines anew, the cursor stays with that character, and the next drawing clears
// everything behind it, however many rows that has become.
#include "screen.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "batch_watch.h"
#include "progress_text.h"
#include "terminal_size.h"

// The first row as a whole, which makes the terminal forget that it was broken; then the rest from the second column,
// because tmux keeps in its history what is cleared from the very first.
static constexpr char CLEAR_BELOW[] = "\r\x1b[2K\x1b[C\x1b[J\r";
// A window may have become narrower without our knowing yet: what is too long is cut, so that the rows can be counted.
static constexpr char NO_LINE_BREAKS[] = "\x1b[?7l", LINE_BREAKS[] = "\x1b[?7h";
static constexpr char HIDE_CURSOR[] = "\x1b[?25l", SHOW_CURSOR[] = "\x1b[?25h";

static bool CanRedraw()
{
    const char *terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) && terminal && *terminal && strcmp(terminal, "dumb") != 0;
}

// The first of these that is set decides, as everywhere.
static bool KnowsBlocks()
{
    for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *value = getenv(name);
        if (value && *value)
            return strcasestr(value, "utf-8") || strcasestr(value, "utf8");
    }
    return false;
}

static bool WantsColours()
{
    const char *refused = getenv("NO_COLOR");
    return !refused || !*refused;
}

Screen::Screen(const Output &where, bool is_quiet)
    : output(where), mode(is_quiet                         ? NOWHERE
                          : where.width > 0 && CanRedraw() ? TERMINAL
                                                           : LINES)
{
}

Screen::~Screen()
{
    Clear();
}

bool Screen::IsShown() const
{
    return mode != NOWHERE;
}

double Screen::Interval() const
{
    return mode == TERMINAL ? 0.15 : mode == LINES ? 0.5 : 0.1;
}

void Screen::Show(const BatchView &view)
{
    if (mode == TERMINAL)
        Draw(view);
    else if (mode == LINES)
        LinePrint(view);
}

void Screen::Say(const std::string &text)
{
    if (mode == NOWHERE)
        return;
    Clear();
    output.out << text << std::endl;
}

void Screen::Clear()
{
    if (!is_drawn)
        return;
    is_drawn = false;
    output.out << CLEAR_BELOW << SHOW_CURSOR << std::flush;
}

void Screen::Draw(const BatchView &view)
{
    // The last column and the last row stay free: a character there may make the terminal scroll.
    TextStyle style = {std::max(TerminalWidth() - 1, 1), KnowsBlocks(), WantsColours()};
    std::string text = is_drawn ? CLEAR_BELOW : std::string(HIDE_CURSOR) + CLEAR_BELOW;
    text += NO_LINE_BREAKS;
    size_t count = 0;
    for (const std::string &line : ProgressLines(view, style, std::max(TerminalHeight() - 1, 1)))
        text += (count++ ? "\r\n" : "") + line;
    if (count > 1)
        text += "\x1b[" + std::to_string(count - 1) + "A";
    output.out << text << '\r' << LINE_BREAKS << std::flush;
    is_drawn = true;
}

// A change is another phase, request or percent, or half a minute in which more files were done.
void Screen::LinePrint(const BatchView &view)
{
    static constexpr double SECONDS_MIN = 1, SECONDS_MAX = 30;
    std::string state = std::to_string(view.phase) + ' ' + std::to_string(view.line) + ' ' +
                        std::to_string(static_cast<int>(DoneShare(view) * 100)) + ' ' +
                        std::to_string(view.is_stopped) + ' ' + std::to_string(view.queue_lines);
    double now = SteadySeconds();
    bool is_new = state != last_state && (last_state.empty() || now - last_time >= SECONDS_MIN);
    bool is_due = now - last_time >= SECONDS_MAX && view.done.files != last_files;
    if (!is_new && !is_due)
        return;
    last_state = state;
    last_time = now;
    last_files = view.done.files;
    output.out << ProgressLine(view) << std::endl;
}
