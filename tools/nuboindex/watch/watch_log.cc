#include "watch/watch_log.h"

#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

#include <iostream>

#include "printable.h"

void WatchLog(const std::string &message)
{
    std::string text = PrintableText(message);
    std::cerr << "nuboindex watch: " << text << std::endl;
    if (!isatty(STDERR_FILENO) && !getenv("JOURNAL_STREAM"))
        syslog(LOG_DAEMON | LOG_NOTICE, "%s", text.c_str());
}
