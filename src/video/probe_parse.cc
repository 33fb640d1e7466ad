// FFmpeg's answer, turned into a media record. Runs in the probe child only: what it allocates beyond the open
// file goes with the process.
#include "video/probe_parse.h"

#include <limits.h>
#include <stdlib.h>

#include <initializer_list>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include "common/log.h"
#include "common/regular_file.h"
#include "common/text.h"

static constexpr char LOG_MODULE[] = "probe_parse";

// What the streams of one file have shown.
struct StreamsSeen {
    bool audio;
    bool video;
    const AVDictionary *audio_tags;  // of the first audio stream
};

// The first of the keys that has a value; null when none has. Keys ignore case.
static const char *TagGet(const AVDictionary *tags, const char *key, const char *other_key)
{
    for (const char *name : {key, other_key}) {
        const AVDictionaryEntry *entry = name ? av_dict_get(tags, name, nullptr, 0) : nullptr;
        if (entry && *entry->value)
            return entry->value;
    }
    return nullptr;
}

// The leading number of a tag such as "2004-05-01" or "3/12"; 0 without one.
static int32_t TagNumber(const char *text)
{
    if (!text)
        return 0;
    long number = strtol(text, nullptr, 10);
    return static_cast<int32_t>(number < INT32_MIN ? INT32_MIN : number > INT32_MAX ? INT32_MAX : number);
}

// Rates beyond the field saturate; negative ones are unknown.
static uint32_t BitRate32(int64_t rate)
{
    return static_cast<uint32_t>(rate < 0 ? 0 : rate > UINT32_MAX ? UINT32_MAX : rate);
}

static uint32_t Count32(int count)
{
    return count < 0 ? 0 : static_cast<uint32_t>(count);
}

// PCM rates are computed, because containers often leave them out or get them wrong.
static uint32_t AudioBitRate(const AVCodecParameters *codec, int channels)
{
    static_assert(AV_CODEC_ID_PCM_S16LE == 0x10000 && AV_CODEC_ID_PCM_S8 == 0x10004 &&
                  AV_CODEC_ID_PCM_ALAW == 0x10007);
    int id = codec->codec_id;
    if (id >= 0x10000 && id <= 0x10003)
        return BitRate32(int64_t{codec->sample_rate} * channels * 16);
    if (id >= 0x10004 && id <= 0x10007)
        return BitRate32(int64_t{codec->sample_rate} * channels * 8);
    return BitRate32(codec->bit_rate);
}

// One stream. 0, or -1 when its type is unknown.
static int StreamRead(const char *path, const AVStream *stream, MediaInfoRecord *record, StreamsSeen *seen)
{
    const AVCodecParameters *codec = stream->codecpar;
    uint32_t bitrate = 0;
    switch (static_cast<int>(codec->codec_type)) {
    case AVMEDIA_TYPE_AUDIO: {
        int channels = codec->ch_layout.nb_channels;
        record->channels = Count32(channels);
        if (codec->sample_rate != 0)
            record->frequency = Count32(codec->sample_rate);
        bitrate = AudioBitRate(codec, channels);
        if (!seen->audio)
            seen->audio_tags = stream->metadata;
        seen->audio = true;
        break;
    }
    case AVMEDIA_TYPE_VIDEO:
        if (codec->width != 0) {
            record->resolution_x = Count32(codec->width);
            record->resolution_y = Count32(codec->height);
        }
        seen->video = true;
        break;
    case AVMEDIA_TYPE_DATA:
    case AVMEDIA_TYPE_SUBTITLE:
        break;
    default:
        LogColon(LOG_HERE, "Invalid stream type:%d from [%s].", codec->codec_type, path);
        return -1;
    }
    if (bitrate != 0)
        record->bitrate = bitrate;  // later streams overwrite earlier ones
    return 0;
}

static void TextTagSet(char (&field)[255], const char *text)
{
    if (text)
        TextSet(field, text);
}

static void TagsRead(const AVDictionary *tags, MediaInfoRecord *record)
{
    TextTagSet(record->genre, TagGet(tags, "genre", nullptr));
    TextTagSet(record->artist, TagGet(tags, "artist", "author"));
    TextTagSet(record->title, TagGet(tags, "title", nullptr));
    int32_t year = TagNumber(TagGet(tags, "date", "year"));
    if (year != 0)
        record->year = year;
    record->track = TagNumber(TagGet(tags, "track", nullptr));
}

static int ContextRead(const char *path, const AVFormatContext *context, MediaInfoRecord *record)
{
    record->container_bitrate = BitRate32(context->bit_rate);
    record->duration = static_cast<float>(context->duration / AV_TIME_BASE);
    TagsRead(context->metadata, record);

    StreamsSeen seen = {};
    for (unsigned i = 0; i < context->nb_streams; i++) {
        if (context->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC)
            continue;  // cover art, not video
        if (StreamRead(path, context->streams[i], record, &seen) < 0)
            return 1;
    }
    if (!seen.audio && !seen.video)
        return 1;

    const AVDictionary *tags = context->metadata;
    if (av_dict_count(tags) == 0 && seen.audio) {  // Ogg keeps its tags with the stream
        tags = seen.audio_tags;
        TagsRead(tags, record);
    }
    if (!seen.video)
        TextTagSet(record->album, TagGet(tags, "album", nullptr));
    return 0;
}

// A playlist disguised as a media file must not make a root process open network addresses.
static AVFormatContext *FileContextMake(void)
{
    AVFormatContext *context = avformat_alloc_context();
    if (context)
        context->protocol_whitelist = av_strdup("file");
    return context;
}

int MediaProbeParse(const char *path, MediaInfoRecord *record)
{
    av_log_set_level(AV_LOG_QUIET);
    // A pipe would keep the demuxer waiting until the watchdog ends it.
    AVFormatContext *context = IsRegularFile(path) ? FileContextMake() : nullptr;
    if (!context || avformat_open_input(&context, path, nullptr, nullptr) < 0) {
        LogParen(LOG_HERE, "Failed to av_open_input_file() file [%s].", path);
        return 1;
    }
    int result = 1;
    if (avformat_find_stream_info(context, nullptr) < 0)
        LogParen(LOG_HERE, "Could not find codec parameters.  %s", path);
    else
        result = ContextRead(path, context, record);
    avformat_close_input(&context);
    return result;
}
