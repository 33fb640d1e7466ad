// nuboindex: the command through which people and scripts use the indexing daemon.
#include <locale.h>
#include <signal.h>

#include <iostream>

#include "command.h"
#include "terminal_size.h"

int main(int argc, char **argv)
{
    setlocale(LC_CTYPE,
              "C.UTF-8");      // for the width of characters; names are UTF-8 whatever the user's locale is
    signal(SIGPIPE, SIG_DFL);  // `nuboindex list music | head` ends in silence
    std::ios::sync_with_stdio(false);
    return ToolRun(argc, argv, Output{std::cout, std::cerr, TerminalWidth()});
}
