// A line that is too long for the daemon's buffer comes in pieces.
#include "work_lines.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>

#include "queue_line.h"

static std::vector<WorkLine> LinesOf(FILE *file)
{
    std::vector<WorkLine> lines;
    std::string text;
    size_t length = 0;
    long position = 0;
    auto take = [&] {
        lines.push_back({position, text});
        text.clear();
        length = 0;
    };
    for (int byte = 0; (byte = getc(file)) != EOF;) {
        position++;
        length++;
        if (byte != '\n')
            text += static_cast<char>(byte);
        if (byte == '\n' || length == QUEUE_LINE_MAX)
            take();
    }
    if (length > 0)
        take();
    return lines;
}

WorkLines WorkLinesRead(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return {errno == ENOENT, {}};
    FILE *file = S_ISREG(status.st_mode) ? fopen(path, "re") : nullptr;  // a pipe would not let go of us
    if (!file)
        return {false, {}};
    WorkLines result = {true, LinesOf(file)};
    result.is_known = !ferror(file);
    fclose(file);
    return result;
}

static long EndedAt(const std::vector<WorkLine> &lines, long position)
{
    auto behind = std::upper_bound(lines.begin(), lines.end(), position,
                                   [](long at, const WorkLine &line) { return at < line.end; });
    return behind - lines.begin();
}

LineRange LineRangeAt(const std::vector<WorkLine> &lines, long position, long block)
{
    long count = static_cast<long>(lines.size());
    if (position <= 0 || count == 0)
        return {0, 0};
    // The last block was read because the line in hand did not end before it.
    long first = std::min(EndedAt(lines, position - block) + 1, count);
    bool at_end = position >= lines.back().end;
    return {first, at_end ? count : std::max(EndedAt(lines, position), first)};
}

long ReadBlock(long preferred)
{
    static constexpr long LARGEST = 8192;
    return std::clamp(preferred, 1L, LARGEST);
}
