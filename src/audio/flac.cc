// FLAC files through libFLAC. Play time is whole seconds; the bit rate counts the whole file, pictures and
// padding included.
#include "audio/flac.h"

#include <FLAC/metadata.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>

#include "common/log.h"
#include "common/numbers.h"
#include "common/text.h"
#include "index/handler_steps.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "flac";

// Single precision is what the rows of this format have always been computed with.
static uint32_t FlacBitrate(int64_t file_size, uint64_t samples, uint32_t rate)
{
    double bits = static_cast<double>(static_cast<float>(file_size)) * 8.0;
    float seconds = static_cast<float>(samples) / static_cast<float>(rate);
    return TruncateU32(bits / static_cast<double>(seconds));
}

static void FlacStreamFill(const FLAC__StreamMetadata_StreamInfo *info, int64_t file_size,
                           MediaInfoRecord *record)
{
    record->channels = info->channels;
    record->frequency = info->sample_rate;
    record->duration = 0;
    record->bitrate = 0;
    if (info->sample_rate == 0)
        return;
    record->duration = static_cast<float>(info->total_samples / info->sample_rate);
    if (info->total_samples != 0)
        record->bitrate = FlacBitrate(file_size, info->total_samples, info->sample_rate);
}

// The text behind `key` ("TITLE=", in any case); null for another key or an empty value.
static const char *FlacValueOf(const FLAC__StreamMetadata_VorbisComment_Entry *comment, const char *key)
{
    size_t key_length = strlen(key);
    const char *text = reinterpret_cast<const char *>(comment->entry);  // libFLAC ends it with a NUL
    if (comment->length <= key_length || strncasecmp(text, key, key_length) != 0)
        return nullptr;
    return text + key_length;
}

static void FlacCommentFill(const FLAC__StreamMetadata_VorbisComment_Entry *comment, MediaInfoRecord *record)
{
    if (const char *title = FlacValueOf(comment, "TITLE="))
        TextSet(record->title, title);
    else if (const char *artist = FlacValueOf(comment, "ARTIST="))
        TextSet(record->artist, artist);
    else if (const char *album = FlacValueOf(comment, "ALBUM="))
        TextSet(record->album, album);
    else if (const char *date = FlacValueOf(comment, "DATE="))
        record->year = WholeNumber(date);
    else if (const char *genre = FlacValueOf(comment, "GENRE="))
        TextSet(record->genre, genre);
    else if (const char *track = FlacValueOf(comment, "TRACKNUMBER="))
        record->track = LeadingNumber(track);
}

int FlacIndexAdd(const char *path)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    MediaInfoRecord record = {};
    NameDefaultsFill(LOG_HERE, path, size, &record);
    bool is_read = FlacMetaParse(path, &record) == 0;
    if (!is_read)
        LogParen(LOG_HERE, "Failed to parse music metadata.");
    FileTimesFill(path, &record);
    int saved = MediaRowSave(LOG_HERE, MEDIA_KIND_MUSIC, &record);  // no MediaInfoValid: texts go as found
    return is_read ? saved : 1;                                     // 1 even when the save failed
}

int FlacMetaParse(const char *path, MediaInfoRecord *record)
{
    if (!path || !*path) {
        LogParen(LOG_HERE, "Bad parameter.");
        return -1;
    }
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        LogParen(LOG_HERE, "Stat file error: %s.", path);
        return -1;
    }
    FLAC__StreamMetadata stream;
    if (!FLAC__metadata_get_streaminfo(path, &stream)) {
        LogParen(LOG_HERE, "Can't get Flac stream info: %s.", path);
        return -1;
    }
    FlacStreamFill(&stream.data.stream_info, status.st_size, record);

    FLAC__StreamMetadata *tags = nullptr;
    if (!FLAC__metadata_get_tags(path, &tags)) {
        LogParen(LOG_HERE, "Can't get Flac comment tags: %s.", path);
        return -1;
    }
    for (uint32_t i = 0; i < tags->data.vorbis_comment.num_comments; i++)
        FlacCommentFill(&tags->data.vorbis_comment.comments[i], record);
    FLAC__metadata_object_delete(tags);
    return 0;
}
