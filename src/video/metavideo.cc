// A video CD file is an elementary video stream, or a program stream with its first headers near the start, be it
// inside the wrapper in which such files are copied from the disc.
#include "video/metavideo.h"

#include <stdio.h>

#include "common/log.h"
#include "common/regular_file.h"
#include "video/mpeg_sound.h"
#include "video/mpeg_video.h"

static constexpr char LOG_MODULE[] = "metavideo";

static int ProgramStreamRead(MpegStreamReader *reader, MpegVideoInfo *video, MpegAudioInfo *audio)
{
    int64_t header = MpegFindStartCode(reader, 0, MPEG_SEQUENCE_HEADER);
    if (header < 0) {
        LogParen(LOG_HERE, "couldn't find any valid video.");
        return -1;
    }
    if (MpegSequenceHeaderRead(reader, header, video) < 0) {
        LogParen(LOG_HERE, "failed to parse video.");
        return -1;
    }
    MpegSoundFind(reader, audio);
    return 0;
}

static void RecordFill(const MpegVideoInfo *video, const MpegAudioInfo *audio, MediaInfoRecord *record)
{
    record->duration = static_cast<float>(video->duration);
    record->container_bitrate = video->bitrate_value * 1000;  // rows hold the stream's unit times 1000
    record->bitrate = static_cast<uint32_t>(audio->bitrate);
    record->frequency = static_cast<uint32_t>(audio->sample_rate);
    record->channels = static_cast<uint32_t>(audio->mode);  // the mode's code: 0 stereo, 3 mono
    record->resolution_x = video->width;
    record->resolution_y = video->height;
}

static int VideoStreamParse(FILE *stream, const char *path, MediaInfoRecord *record)
{
    MpegStreamReader reader = {};
    reader.file.stream = stream;
    reader.kind = MPEG_STREAM_1;
    reader.file.size = RegularFileSize(LOG_HERE, stream, path);
    if (reader.file.size < 0)
        return -1;

    MpegVideoInfo video = {};
    MpegAudioInfo audio = {};
    int result = MpegSequenceHeaderRead(&reader, 0, &video);  // an elementary stream has no sound
    if (result < 0)
        result = ProgramStreamRead(&reader, &video, &audio);
    if (result < 0)
        LogParen(LOG_HERE, "Did not find video nor audio. Skip meta info");
    RecordFill(&video, &audio, record);
    return result;
}

int VideoMetaParse(const char *path, MediaInfoRecord *record)
{
    FILE *stream = RegularFileOpen(path);
    if (!stream) {
        LogParen(LOG_HERE, "Unable to open %s ", path);
        return -1;
    }
    setbuf(stream, nullptr);  // the reader has a cache of its own; a buffer here is filled by the seek alone
    int result = VideoStreamParse(stream, path, record);
    fclose(stream);
    return result;
}
