// Two texts are compared instead of two numbers: a text of local time has no one time behind it.
#include "sync/file_time.h"

#include <stdlib.h>
#include <time.h>

#include <fstream>
#include <iterator>

#include "daemon_process.h"
#include "platform/media_index.h"

static void DigitsWrite(char *out, int number, int digits)
{
    for (int i = digits - 1; i >= 0; i--, number /= 10)
        out[i] = static_cast<char>('0' + number % 10);
}

std::string RowTimeText(time_t when)
{
    struct tm parts;
    if (!localtime_r(&when, &parts) || parts.tm_year + 1900 < 0 || parts.tm_year + 1900 > 9999)
        return "";
    char text[] = "0000-00-00 00:00:00";
    DigitsWrite(text, parts.tm_year + 1900, 4);
    DigitsWrite(text + 5, parts.tm_mon + 1, 2);
    DigitsWrite(text + 8, parts.tm_mday, 2);
    DigitsWrite(text + 11, parts.tm_hour, 2);
    DigitsWrite(text + 14, parts.tm_min, 2);
    DigitsWrite(text + 17, parts.tm_sec, 2);
    return text;
}

// The library that wrote the row decides how it writes.
static bool LibraryAgrees(const IndexRow &row, const std::string &path)
{
    char changed[32], modified[32];
    (void)NUBOIndexCTimeMTimeGet(path.c_str(), changed, sizeof changed, modified, sizeof modified);
    return row.changed == changed && row.modified == modified;
}

bool MediaRowMatches(const IndexRow &row, const std::string &path, const struct statx &status)
{
    if (row.size != status.stx_size)
        return false;
    bool is_same = row.changed == RowTimeText(status.stx_ctime.tv_sec) &&
                   row.modified == RowTimeText(status.stx_mtime.tv_sec);
    return is_same || LibraryAgrees(row, path);
}

bool GalleryRowMatches(const IndexRow &row, const struct statx &status)
{
    char text[64] = "";
    time_t when = status.stx_ctime.tv_sec;
    (void)ctime_r(&when, text);
    return row.size == status.stx_size && row.changed == text;
}

DaemonTimeZone::DaemonTimeZone()
{
    int pid = DaemonPid();
    std::ifstream file("/proc/" + std::to_string(pid) + "/environ", std::ios::binary);
    if (pid == 0 || !file)
        return;
    std::string variables{std::istreambuf_iterator<char>(file), {}};
    variables.insert(variables.begin(), '\0');
    size_t zone = variables.find(std::string_view("\0TZ=", 4));
    const char *own = getenv("TZ");
    was_set = own != nullptr;
    before = own ? own : "";
    is_changed = true;
    if (zone == std::string::npos)
        unsetenv("TZ");
    else
        setenv("TZ", variables.c_str() + zone + 4, 1);
    tzset();
}

DaemonTimeZone::~DaemonTimeZone()
{
    if (!is_changed)
        return;
    if (was_set)
        setenv("TZ", before.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}
