// The folders that hold description files are writable by the box's users, so a file there may be anything.
#include "photo/photo_description.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include "common/text.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "photo_description";

static constexpr int EA_PATH_SIZE = 4095;
static constexpr size_t VALUE_SIZE = 255;
static constexpr size_t STREAMS_KEPT = 64;

// A pipe must not stop the daemon, a link must not show it a file of somebody else's, and a stream that stays open
// must not reach the programs that are run.
static FILE *DescriptionOpen(const char *file_path)
{
    int fd = open(file_path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    FILE *file = fdopen(fd, "rb");
    if (!file)
        (void)close(fd);
    return file;
}

// Streams stay open after reading. Only a bounded number of them does: a box with thousands of titles must not run out
// of descriptors.
static void StreamKeep(FILE *file)
{
    static FILE *kept[STREAMS_KEPT];
    static size_t oldest = 0;
    if (kept[oldest])
        (void)fclose(kept[oldest]);
    kept[oldest] = file;
    oldest = (oldest + 1) % STREAMS_KEPT;
}

int DescriptionRead(LogSite at, const char *path, const char *key, char *out, int out_size)
{
    if (!path || !key || !out || out_size <= 0) {
        LogColon(at, "Bad parameters.");
        return -1;
    }
    char file_path[EA_PATH_SIZE + 1] = "";
    if (NUBOEAPath(path, key, file_path, EA_PATH_SIZE) != 0) {
        LogColon(at, "NUBOEAPath() failed.");
        return -1;
    }
    if (!BlNLIBFileExist(file_path))
        return -1;
    FILE *file = DescriptionOpen(file_path);
    if (!file) {
        LogColon(at, "failed to open file %s.", file_path);
        return -1;
    }
    StreamKeep(file);
    *out = '\0';
    if (!fgets(out, out_size, file) && !feof(file)) {
        LogColon(at, "fgets() failed.");
        return -1;
    }
    (void)unlink(file_path);
    return *out == '\0' || *out == '\n' ? -1 : 0;
}

int ReadPhotoEA(const char *path, const char *key, char *out, int out_size)
{
    return DescriptionRead(LOG_HERE, path, key, out, out_size);
}

int GetPhotoTitle(const char *path, PhotoInfoRecord *record)
{
    if (!path || !record) {
        LogColon(LOG_HERE, "Bad parameters.");
        return 0;
    }
    char value[VALUE_SIZE] = "";
    if (ReadPhotoEA(path, "NUBOPHOTO:TITLE", value, sizeof value) != 0)
        return 0;
    TextSet(record->title, value);
    return 1;
}

int GetPhotoDesc(const char *path, PhotoInfoRecord *record)
{
    if (!path || !record) {
        LogColon(LOG_HERE, "Bad parameters.");
        return 0;
    }
    char value[VALUE_SIZE] = "";
    if (ReadPhotoEA(path, "NUBOPHOTO:DESC", value, sizeof value) != 0)
        return 0;
    TextSet(record->description, value);
    return 1;
}
