// Asked anew every time: windows change their size.
#include "terminal_size.h"

#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

static winsize SizeRead()
{
    static constexpr unsigned short USUAL_WIDTH = 80, USUAL_HEIGHT = 24;
    winsize size = {};
    if (!isatty(STDOUT_FILENO))
        return size;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        size.ws_col = USUAL_WIDTH;
    if (size.ws_row == 0)
        size.ws_row = USUAL_HEIGHT;
    return size;
}

int TerminalWidth()
{
    if (const char *wanted = getenv("NUBOINDEX_WIDTH"); wanted && atoi(wanted) > 0)
        return atoi(wanted);
    return SizeRead().ws_col;
}

int TerminalHeight()
{
    return SizeRead().ws_row;
}
