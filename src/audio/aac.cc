// AAC files through the box's decoder program, which prints one line:
//     WORD duration;12.5;samplerate;44100;channel;2;bitrate;128000;
#include "audio/aac.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "common/log.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "index/handler_steps.h"
#include "platform/media_index.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "aac";

static constexpr int COMMAND_SIZE = 4096;
static constexpr int LINE_SIZE = 1024;

int AacLineScan(const char *line, MediaInfoRecord *record)
{
    char word[LINE_SIZE];
    int frequency = static_cast<int>(record->frequency);
    int channels = static_cast<int>(record->channels);
    int bitrate = static_cast<int>(record->bitrate);
    int count = sscanf(line, "%1023s duration;%f;samplerate;%d;channel;%d;bitrate;%d;", word, &record->duration,
                       &frequency, &channels, &bitrate);
    record->frequency = static_cast<uint32_t>(frequency);
    record->channels = static_cast<uint32_t>(channels);
    record->bitrate = static_cast<uint32_t>(bitrate);
    return count == 5 ? 0 : -1;
}

// The first line of what a shell command prints. 0; -1 when there is none, or no shell, which is logged.
static int CommandLineRead(const char *command, char *line, int size)
{
    FILE *pipe = popen(command, "r");
    if (!pipe) {
        LogColon(LOG_HERE, "Failed to popen. [%s]", command);
        return -1;
    }
    const char *read = fgets(line, size, pipe);
    (void)pclose(pipe);
    return read ? 0 : -1;
}

static int AacDecoderAsk(const char *escaped_path, MediaInfoRecord *record)
{
    char command[COMMAND_SIZE];
    int length = snprintf(command, sizeof command, "%s -i %s 2> /dev/null", AAC_DECODER_PROGRAM, escaped_path);
    if (length >= COMMAND_SIZE)
        return -1;  // cut, it would name another file, or send the decoder's errors to one
    char line[LINE_SIZE] = {};
    if (CommandLineRead(command, line, sizeof line) < 0)
        return -1;
    if (AacLineScan(line, record) < 0) {
        LogColon(LOG_HERE, "Failed to parse FAAD result. [%s]", line);
        return -1;
    }
    (void)MediaInfoValid(record);  // here and not before the save: a record without values goes as it is
    return 0;
}

int AacIndexAdd(const char *path)
{
    if (!path) {
        LogColon(LOG_HERE, "Bad parameter.");
        return -1;
    }
    MediaInfoRecord record = {};
    if (MediaInfoCommonFill(path, &record) != 0)
        return -1;
    // The decoder has no time limit: a pipe would keep it, and us, waiting for a writer for ever.
    bool is_read = IsRegularFile(path) && AacMetaParse(path, &record) == 0;
    if (MediaInfoDBSave(MEDIA_KIND_MUSIC, &record) != 0) {
        LogColon(LOG_HERE, "Failed to save media info to database. [%s]", path);
        return is_read ? -1 : 1;  // 1 even when the save failed
    }
    return is_read ? 0 : 1;
}

int AacMetaParse(const char *path, MediaInfoRecord *record)
{
    if (!path || !*path || !record) {
        LogColon(LOG_HERE, "Bad parameter.");
        return -1;
    }
    size_t length = strlen(path);
    size_t size = 2 * length + 1;
    char *escaped = static_cast<char *>(malloc(size));
    if (!escaped) {
        LogColon(LOG_HERE, "Failed to malloc(%d)", static_cast<int>(length));
        return -1;
    }
    int result = -1;
    if (NLIBEncShParam(path, escaped, static_cast<int>(size)) != 0)
        LogColon(LOG_HERE, "Failed to encode string [%s]", path);
    else
        result = AacDecoderAsk(escaped, record);
    free(escaped);
    return result;
}
