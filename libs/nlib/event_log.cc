// The event log. A row is one write to a file opened for appending; the lock is for the change of files.
#include "nlib/event_log.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "nlib/config.h"
#include "nlib/exported.h"

static constexpr char TIME_FORMAT[] = "%Y-%m-%dT%H:%M:%SZ";

static std::string EventLogPath()
{
    return std::string(PlatformSetting("state_dir")) + "/event.log";
}

static void TextEscape(const char *text, std::string *row)
{
    static constexpr char digits[] = "0123456789abcdef";
    for (; text && *text; text++) {
        unsigned char byte = static_cast<unsigned char>(*text);
        if (byte == '\\') {
            *row += "\\\\";
        } else if (byte < 32 || byte == 127) {
            *row += "\\x";
            *row += digits[byte >> 4];
            *row += digits[byte & 15];
        } else {
            *row += *text;
        }
    }
}

static std::string RowBuild(int cls, int level, unsigned int event, const char *const texts[4])
{
    char head[128];
    time_t now = time(nullptr);
    struct tm parts = {};
    gmtime_r(&now, &parts);
    size_t length = strftime(head, sizeof head, TIME_FORMAT, &parts);
    snprintf(head + length, sizeof head - length, "\t%d\t%d\t0x%08X", cls, level, event);

    std::string row = head;
    for (int i = 0; i < 4; i++) {
        row += '\t';
        TextEscape(texts[i], &row);
    }
    return row + '\n';
}

static int LogOpen(const std::string &path)
{
    int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0 || errno != ENOENT)
        return fd;
    (void)mkdir(PlatformSetting("state_dir"), 0755);
    return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
}

// Opens the log and locks it. A full one is put aside first; another writer may have done so between the
// open and the lock, so the name is compared with the file that is held.
static int LogOpenLocked(const std::string &path, size_t row_size)
{
    for (int attempt = 0; attempt < 8; attempt++) {
        int fd = LogOpen(path);
        if (fd < 0)
            return -1;
        struct stat held;
        struct stat named;
        if (flock(fd, LOCK_EX) < 0 || fstat(fd, &held) < 0) {
            close(fd);
            return -1;
        }
        bool current = stat(path.c_str(), &named) == 0 && held.st_ino == named.st_ino;
        if (current && (held.st_size == 0 || held.st_size + static_cast<long>(row_size) <= EVENT_LOG_LIMIT))
            return fd;
        if (current && rename(path.c_str(), (path + ".1").c_str()) < 0)
            return fd;  // better too long than nothing
        close(fd);
    }
    return -1;
}

static int RowAppend(int fd, const std::string &row)
{
    struct stat before;
    if (fstat(fd, &before) < 0)
        return -1;
    ssize_t written = write(fd, row.data(), row.size());
    if (written == static_cast<ssize_t>(row.size()))
        return 0;
    if (written > 0 && ftruncate(fd, before.st_size) < 0)
        return -1;  // half a row stays; the reader leaves it out
    return -1;
}

int NUBOLogSet1(int cls, int level, unsigned int event, const char *t1, const char *t2, const char *t3,
                const char *t4)
{
    const char *const texts[4] = {t1, t2, t3, t4};
    std::string row = RowBuild(cls, level, event, texts);
    int fd = LogOpenLocked(EventLogPath(), row.size());
    if (fd < 0)
        return -1;
    int result = RowAppend(fd, row);
    close(fd);
    return result;
}

static std::string TextUnescape(const std::string &field)
{
    std::string text;
    for (size_t i = 0; i < field.size(); i++) {
        if (field[i] == '\\' && i + 3 < field.size() && field[i + 1] == 'x') {
            text += static_cast<char>(strtol(field.substr(i + 2, 2).c_str(), nullptr, 16));
            i += 3;
        } else {
            if (field[i] == '\\' && i + 1 < field.size())
                i++;
            text += field[i];
        }
    }
    return text;
}

static std::vector<std::string> FieldsSplit(const std::string &line)
{
    std::vector<std::string> fields(1);
    for (char c : line) {
        if (c == '\t')
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

static bool RowParse(const std::string &line, EventLogRow *row)
{
    std::vector<std::string> fields = FieldsSplit(line);
    if (fields.size() != 8)
        return false;
    struct tm parts = {};
    const char *end = strptime(fields[0].c_str(), TIME_FORMAT, &parts);
    if (!end || *end)
        return false;
    row->time = timegm(&parts);
    row->cls = static_cast<int>(strtol(fields[1].c_str(), nullptr, 10));
    row->level = static_cast<int>(strtol(fields[2].c_str(), nullptr, 10));
    row->event = static_cast<unsigned int>(strtoul(fields[3].c_str(), nullptr, 16));
    for (size_t i = 0; i < 4; i++)
        row->texts[i] = TextUnescape(fields[4 + i]);
    return true;
}

static void RowsRead(const std::string &path, std::vector<EventLogRow> *rows)
{
    FILE *file = fopen(path.c_str(), "re");
    if (!file)
        return;
    char *line = nullptr;
    size_t capacity = 0;
    ssize_t length = 0;
    while ((length = getline(&line, &capacity, file)) > 0) {
        EventLogRow row;
        if (line[length - 1] == '\n' && RowParse(std::string(line, static_cast<size_t>(length) - 1), &row))
            rows->push_back(row);
    }
    free(line);
    fclose(file);
}

std::vector<EventLogRow> EventLogRead()
{
    std::vector<EventLogRow> rows;
    RowsRead(EventLogPath() + ".1", &rows);
    RowsRead(EventLogPath(), &rows);
    return rows;
}
