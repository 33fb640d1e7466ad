// The tag merge: which of two tags gives a field, and what its text means.
#include "music/mp3_merge.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "common/log.h"
#include "common/text.h"
#include "music/id3_genre.h"
#include "platform/sdk.h"

static constexpr char LOG_MODULE[] = "mp3_merge";

static constexpr size_t FIELD_SIZE = sizeof(MediaInfoRecord::title);
static constexpr size_t ID3V1_WIDTH = sizeof(Id3v1Tag::title);
static constexpr double DURATION_LIMIT = 43200.0;  // twelve hours

// What lies outside 32 bits saturates.
static int NumberParse(const char *text, char **end)
{
    return static_cast<int>(std::clamp<long>(strtol(text, end, 10), INT_MIN, INT_MAX));
}

static void StreamMerge(MediaInfoRecord *record, const MpegAudioInfo *info)
{
    if (info->duration > 0 && info->duration < DURATION_LIMIT)
        record->duration = static_cast<float>(info->duration);
    record->bitrate = static_cast<uint32_t>(std::max(info->bitrate, 0));
    record->frequency = static_cast<uint32_t>(info->sample_rate);
    if (info->mode < 0 || info->mode > 3)
        record->channels = 0;
    else
        record->channels = info->mode == 3 ? 1 : 2;
}

static void Id3v2TextMerge(char (&field)[FIELD_SIZE], uint32_t *encoding, const char *text, uint32_t utf16)
{
    if (utf16)
        Id3Utf16Copy(text, field, sizeof field);
    else
        snprintf(field, sizeof field, "%s", text);
    *encoding = utf16;
}

static void TextMerge(char (&field)[FIELD_SIZE], uint32_t *encoding, const char *id3v2, uint32_t utf16,
                      const char *id3v1)
{
    if (id3v2[0]) {
        Id3v2TextMerge(field, encoding, id3v2, utf16);
    } else if (id3v1[0]) {
        size_t length = strnlen(id3v1, ID3V1_WIDTH);
        memset(field, 0, ID3V1_WIDTH + 1);
        memcpy(field, id3v1, length);
        StringTrim(field);
    }
}

static void TitleMerge(MediaInfoRecord *record, const Id3v1Tag *id3v1, const Id3v2Tag *id3v2)
{
    // The default from the file name goes before either tag's text comes.
    if (id3v2->title[0] || id3v1->title[0])
        memset(record->title, 0, sizeof record->title);
    TextMerge(record->title, &record->title_encoding, id3v2->title, id3v2->title_utf16, id3v1->title);
}

// An unusable year of ID3v2 is no reason to ask ID3v1.
static int YearOf(const Id3v1Tag *id3v1, const Id3v2Tag *id3v2)
{
    char text[8] = {};
    if (id3v2->year[0])
        memcpy(text, id3v2->year, sizeof text);
    else
        memcpy(text, id3v1->year, sizeof id3v1->year);
    char *end = nullptr;
    int year = NumberParse(text, &end);
    return *end == '\0' && year >= 1200 && year <= 2200 ? year : 0;
}

// "(17)" and "(17)Rock": a number from the first "(" to the last ")". Anything else between them leaves the
// genre empty.
static void GenreFromNumber(MediaInfoRecord *record, const char *first, const char *last)
{
    char *end = nullptr;
    int number = NumberParse(first + 1, &end);
    if (end != last)
        return;
    if (number >= 0 && number < ID3_GENRE_COUNT)
        TextSet(record->genre, Id3GenreTable[number]);
    else
        snprintf(record->genre, sizeof record->genre, "%d", number);
}

static void GenreMerge(MediaInfoRecord *record, const Id3v1Tag *id3v1, const Id3v2Tag *id3v2)
{
    const char *genre = id3v2->genre;
    if (!genre[0]) {
        // The byte 0 is written by programs that know no genre; it is not taken for "Blues".
        if (id3v1->genre > 0 && id3v1->genre < ID3_GENRE_COUNT)
            TextSet(record->genre, Id3GenreTable[id3v1->genre]);
        return;
    }
    const char *first = strchr(genre, '(');
    const char *last = strrchr(genre, ')');
    if (first && last && last > first)
        GenreFromNumber(record, first, last);
    else
        Id3v2TextMerge(record->genre, &record->genre_encoding, genre, id3v2->genre_utf16);
}

static void NumbersMerge(MediaInfoRecord *record, const Id3v1Tag *id3v1, const Id3v2Tag *id3v2)
{
    uint8_t id3v1_track = static_cast<uint8_t>(id3v1->comment[29]);
    if (id3v2->track[0])
        record->track = NumberParse(id3v2->track, nullptr);
    else if (id3v1->comment[28] == '\0' && id3v1_track != 0 && id3v1_track != ' ')
        record->track = id3v1_track;

    if (id3v2->disc[0]) {
        char *end = nullptr;
        record->disc = NumberParse(id3v2->disc, &end);
        if (*end)
            record->disc = 0;
    }
}

void Mp3TagMerge(MediaInfoRecord *record, const MpegAudioInfo *info, const Id3v1Tag *id3v1,
                 const Id3v2Tag *id3v2)
{
    if (!record || !info || !id3v1 || !id3v2) {
        LogParen(LOG_HERE, "Bad parameter.");
        return;
    }
    StreamMerge(record, info);
    TitleMerge(record, id3v1, id3v2);
    TextMerge(record->artist, &record->artist_encoding, id3v2->artist, id3v2->artist_utf16, id3v1->artist);
    TextMerge(record->album, &record->album_encoding, id3v2->album, id3v2->album_utf16, id3v1->album);
    TextMerge(record->comment, &record->comment_encoding, id3v2->comment, id3v2->comment_utf16, id3v1->comment);
    TextMerge(record->composer, &record->composer_encoding, id3v2->composer, id3v2->composer_utf16, "");
    record->year = YearOf(id3v1, id3v2);
    GenreMerge(record, id3v1, id3v2);
    NumbersMerge(record, id3v1, id3v2);
    record->cover_count = id3v2->cover_count;
}
