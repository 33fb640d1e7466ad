// Take-over, line reading and finish of a batch. The rename is the whole hand-over between producers and
// the daemon: whoever appends afterwards appends to a new queue file.
#include "daemon/index_queue.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "daemon/queue_commands.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "index_queue";

static constexpr int RENAME_RETRIES_MAX = 15;  // 16 attempts in all, without a pause

// A missing queue file costs all the attempts and their messages; the open that follows decides.
static void QueueTakeOver(void)
{
    struct stat status;
    if (stat(INDEX_QUEUE_WORK_PATH, &status) == 0)
        return;
    int attempts = 0;
    while (rename(INDEX_QUEUE_PATH, INDEX_QUEUE_WORK_PATH) != 0) {
        LogCall(LOG_HERE, "Failed to rename %s. (%s)", INDEX_QUEUE_PATH, strerror(errno));
        if (++attempts > RENAME_RETRIES_MAX)
            return;
    }
}

static FILE *WorkFileOpen(void)
{
    FILE *work = RegularFileOpen(INDEX_QUEUE_WORK_PATH);
    if (work)
        return work;
    char command[4200];  // a shell command by contract: whatever stands in the way is removed, folders too
    snprintf(command, sizeof command, "rm -rf %s", INDEX_QUEUE_WORK_PATH);
    int status = system(command);
    (void)status;
    LogCall(LOG_HERE, "Failed to open %s. (%s)", INDEX_QUEUE_WORK_PATH, strerror(errno));
    return nullptr;
}

static void LineExecute(char *line)
{
    if (line[1] != ':') {
        LogParen(LOG_HERE, "Bad format [%s].", line);
        return;
    }
    size_t length = strlen(line);  // 0 when the line begins with a NUL byte
    if (length > 0 && line[length - 1] == '\n')
        line[length - 1] = '\0';
    else
        LogParen(LOG_HERE, "Warning! No new line here.");

    if (QueueCommandExecute(static_cast<unsigned char>(line[0]), line + 2) < 0)
        LogParen(LOG_HERE, "Bad format [%s].", line);
}

static void ServerSignal(const char *pid_path, int signal_number)
{
    int pid = NLIBReadPidFile(pid_path);
    if (pid >= 1)
        (void)kill(pid, signal_number);
}

static void ServersNotify(void)
{
    if (BlNUBOIndexIsMusicTableDirty() || BlNUBOIndexIsVideoTableDirty())
        ServerSignal(MUSIC_SERVER_PID_PATH, SIGHUP);
    ServerSignal(MEDIA_SERVER_PID_PATH, SIGUSR1);
}

void IndexQueueProcess(void)
{
    NUBOIndexMusicTableDirtySet(0);
    NUBOIndexVideoTableDirtySet(0);
    QueueTakeOver();
    FILE *work = WorkFileOpen();
    if (!work)
        return;

    char line[QUEUE_LINE_SIZE];
    while (fgets(line, sizeof line, work))
        LineExecute(line);

    fclose(work);
    (void)unlink(INDEX_QUEUE_WORK_PATH);
    ServersNotify();
}
