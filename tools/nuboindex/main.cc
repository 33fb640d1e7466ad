// nuboindex: the command through which people and scripts use the indexing daemon.
#include <locale.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

#include "command.h"

// The variable asks for tables where the output is no terminal, as in a pipe to a pager.
static int TerminalWidth()
{
    static constexpr int WIDTH_UNKNOWN = 80;
    if (const char *wanted = getenv("NUBOINDEX_WIDTH"); wanted && atoi(wanted) > 0)
        return atoi(wanted);
    if (!isatty(STDOUT_FILENO))
        return 0;
    struct winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return WIDTH_UNKNOWN;
    return size.ws_col;
}

int main(int argc, char **argv)
{
    setlocale(LC_CTYPE,
              "C.UTF-8");      // for the width of characters; names are UTF-8 whatever the user's locale is
    signal(SIGPIPE, SIG_DFL);  // `nuboindex list music | head` ends in silence
    std::ios::sync_with_stdio(false);
    return ToolRun(argc, argv, Output{std::cout, std::cerr, TerminalWidth()});
}
