// Words first, then as much of a bar as the width leaves.
#include "progress_text.h"

#include <limits.h>
#include <math.h>
#include <stdio.h>

#include <algorithm>

#include "display_width.h"
#include "printable.h"
#include "quantity_text.h"

static constexpr char BOLD[] = "\x1b[1m", DIM[] = "\x1b[2m", GREEN[] = "\x1b[32m", YELLOW[] = "\x1b[33m",
                      PLAIN[] = "\x1b[0m";

static constexpr double QUIET_SECONDS = 10;  // the daemon's debounce
static constexpr double SLOW_SECONDS = 3;    // from then on it is said how long a step takes

static std::string Counted(int64_t count, const char *noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

static std::string RateText(double rate)
{
    char text[48];
    snprintf(text, sizeof text, rate < 10 ? "%.1f files/s" : "%.0f files/s", rate);
    return text;
}

double DoneShare(const BatchView &view)
{
    static constexpr double ALMOST = 0.99;
    double share = -1;
    if (view.is_counted && view.total.files > 0 && !view.is_hidden)
        share = static_cast<double>(view.done.files) / static_cast<double>(view.total.files);
    else if (view.line_count > 1 && view.line > 0)
        share = static_cast<double>(view.line - 1) / static_cast<double>(view.line_count);
    return std::min(share, ALMOST);
}

static std::string PercentText(const BatchView &view)
{
    double share = DoneShare(view);
    return share < 0 ? "" : std::to_string(static_cast<int>(share * 100 + 1e-6)) + " %";
}

static std::string FilesText(const BatchView &view)
{
    if (view.is_hidden)
        return "";
    if (!view.is_counted)
        return "counting the files: " + std::to_string(view.total.files);
    return std::to_string(view.done.files) + " of " + Counted(view.total.files, "file");
}

static void PartAdd(std::string *text, const std::string &part)
{
    if (!part.empty())
        *text += (text->empty() ? "" : ", ") + part;
}

static uint64_t Unsigned(int64_t count)
{
    return count > 0 ? static_cast<uint64_t>(count) : 0;
}

// Rate, times and bytes, the most wanted first; those that do not fit the width are left out.
static std::string SpeedText(const BatchView &view, int width)
{
    std::string parts[4];
    if (view.files_per_second > 0)
        parts[0] = RateText(view.files_per_second);
    if (view.seconds_left >= 0)
        parts[1] = ClockText(view.seconds_left) + " left";
    parts[2] = ClockText(view.elapsed) + " so far";
    if (view.is_counted && view.total.bytes > 0 && !view.is_hidden)
        parts[3] = SizeText(Unsigned(view.done.bytes)) + " of " + SizeText(Unsigned(view.total.bytes));
    std::string text;
    for (const std::string &part : parts) {
        std::string longer = text;
        PartAdd(&longer, part);
        if (DisplayWidth(longer) <= width)
            text = longer;
    }
    return text;
}

static std::string RequestLine(const BatchView &view)
{
    std::string text;
    if (view.line > 0)
        text = "request " + std::to_string(view.line) + " of " + std::to_string(view.line_count);
    else if (view.line_count > 0)
        text = Counted(view.line_count, "request");
    if (!view.request.empty())
        text += ": " + PrintableText(view.request);
    if (view.line_count > 1 && view.line_total.files > 1)
        text += ", " + std::to_string(view.line_done.files) + " of " + Counted(view.line_total.files, "file");
    return text;
}

static std::string StepText(const BatchView &view)
{
    return view.since_step < SLOW_SECONDS ? "" : "for " + ClockText(view.since_step) + " ";
}

static std::string NoteText(const BatchView &view)
{
    std::string text;
    if (view.is_stopped)
        PartAdd(&text, "the daemon is halted (kill -CONT " + std::to_string(view.daemon_pid) + ")");
    if (view.daemon_pid == 0)
        PartAdd(&text, "the daemon is not running");
    if (view.is_hidden)
        PartAdd(&text, "only root can see more");
    if (view.failures > 0)
        PartAdd(&text, Counted(view.failures, "file") + " could not be read");
    return text;
}

static std::string WaitingText(const BatchView &view)
{
    static constexpr double OVERDUE_SECONDS = 5;
    std::string text = view.queue_lines < 0 ? "requests wait" : Counted(view.queue_lines, "request");
    if (view.queue_lines >= 0)
        text += view.queue_lines == 1 ? " waits" : " wait";
    double left = QUIET_SECONDS - view.queue_age;
    if (view.is_stopped)
        return text + "; the daemon is halted (kill -CONT " + std::to_string(view.daemon_pid) + ")";
    if (left > -OVERDUE_SECONDS)
        return text + "; the daemon begins in about " + Counted(lround(std::max(left, 1.0)), "second");
    return text + "; the daemon has not been woken (kill -USR1 " + std::to_string(view.daemon_pid) + ")";
}

static std::string Styled(const TextStyle &style, const char *code, const std::string &text)
{
    return style.colours && !text.empty() ? code + text + PLAIN : text;
}

static std::string Repeated(const char *text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

// Eight steps a column where the terminal has the characters.
static std::string BarText(double share, int columns, const TextStyle &style)
{
    static constexpr const char *EIGHTHS[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    int steps = static_cast<int>(std::max(share, 0.0) * columns * 8);
    int full = steps / 8;
    std::string done = Repeated(style.blocks ? "█" : "#", full);
    if (style.blocks && steps % 8 > 0)
        done += EIGHTHS[steps % 8];
    int rest = columns - DisplayWidth(done);
    return Styled(style, GREEN, done) + Styled(style, DIM, Repeated(style.blocks ? "░" : "-", rest));
}

static std::string HeadLine(const BatchView &view, const TextStyle &style)
{
    static constexpr char LABEL[] = "Indexing ";
    static constexpr int BAR_MIN = 8, BAR_MAX = 60;
    std::string percent = PercentText(view), files = FilesText(view);
    std::string tail =
        percent.empty() ? "" : " " + std::string(5 - std::min<size_t>(5, percent.size()), ' ') + percent;
    tail += files.empty() ? "" : "  " + files;
    int room = style.width - static_cast<int>(sizeof LABEL - 1) - DisplayWidth(tail);
    if (room < BAR_MIN) {
        std::string text;
        PartAdd(&text, percent);
        PartAdd(&text, files);
        return Styled(style, BOLD, StartThatFits(text.empty() ? "Indexing" : text, style.width));
    }
    return Styled(style, BOLD, LABEL) + BarText(DoneShare(view), std::min(room, BAR_MAX), style) +
           Styled(style, BOLD, tail);
}

static std::vector<std::string> RunningLines(const BatchView &view, const TextStyle &style, int height)
{
    std::vector<std::string> lines = {HeadLine(view, style)};
    auto add = [&](const char *code, const std::string &text) {
        if (!text.empty() && static_cast<int>(lines.size()) < height)
            lines.push_back(Styled(style, code, StartThatFits(text, style.width)));
    };
    add("", SpeedText(view, style.width));
    std::string note = NoteText(view);
    add(YELLOW, note);
    add("", RequestLine(view));
    std::string path = view.file.empty() ? view.folder : view.file;
    std::string step = StepText(view);
    if (!path.empty())
        add(DIM, step + EndThatFits(PrintableText(path), style.width - DisplayWidth(step)));
    return lines;
}

std::vector<std::string> ProgressLines(const BatchView &view, const TextStyle &style, int height)
{
    switch (view.phase) {
    case WORK_RUNNING:
        return RunningLines(view, style, height);
    case WORK_WAITING:
        return {StartThatFits(WaitingText(view), style.width)};
    case WORK_NONE:
        return {StartThatFits("Nothing to do", style.width)};
    }
    return {};
}

std::string ProgressLine(const BatchView &view)
{
    if (view.phase == WORK_NONE)
        return "nothing to do";
    if (view.phase == WORK_WAITING)
        return "waiting: " + WaitingText(view);
    std::string text;
    PartAdd(&text, PercentText(view));
    PartAdd(&text, FilesText(view));
    PartAdd(&text, SpeedText(view, INT_MAX));
    PartAdd(&text, RequestLine(view));
    PartAdd(&text, NoteText(view));
    std::string path = view.file.empty() ? view.folder : view.file;
    PartAdd(&text, path.empty() ? "" : StepText(view) + PrintableText(path));
    return "indexing: " + text;
}

std::string SummaryLine(const BatchView &view)
{
    std::string text = "Done: ";
    if (view.is_counted && view.total.files > 0)
        text += Counted(view.total.files, "file") + " (" + SizeText(Unsigned(view.total.bytes)) + ")";
    else
        text += Counted(view.line_count, "request");
    text += " in " + ClockText(view.elapsed);
    if (view.is_counted && view.total.files > 1 && view.elapsed >= 1)
        text += ", " + RateText(static_cast<double>(view.total.files) / view.elapsed);
    if (view.failures > 0)
        text += "; " + Counted(view.failures, "file") + " could not be read (nuboindex failures)";
    return text;
}
