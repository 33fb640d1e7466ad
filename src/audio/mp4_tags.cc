// Tracks and tags. The first sound track and the last picture track count.
#include "audio/mp4_tags.h"

#include <stdlib.h>
#include <string.h>

#include "audio/mp4_cover.h"
#include "common/log.h"
#include "common/numbers.h"
#include "common/text.h"
#include "platform/media_index.h"

static constexpr char LOG_MODULE[] = "mp4";

static constexpr uint32_t NO_TRACK = 0;

struct Mp4Tracks {
    uint32_t audio;
    uint32_t video;
};

static bool IsType(const char *type, const char *wanted)
{
    return type && strcmp(type, wanted) == 0;
}

static Mp4Tracks Mp4TracksFind(MP4LibraryFile *file)
{
    Mp4Tracks tracks = {NO_TRACK, NO_TRACK};
    uint32_t count = MP4GetNumberOfTracks(file);
    for (uint32_t index = 0; index < count && index <= UINT16_MAX; index++) {
        uint32_t id = MP4FindTrackId(file, static_cast<uint16_t>(index));
        const char *type = MP4GetTrackType(file, id);
        if (IsType(type, "soun") && tracks.audio == NO_TRACK)
            tracks.audio = id;
        if (IsType(type, "vide"))
            tracks.video = id;
    }
    return tracks;
}

static void Mp4TracksFill(MP4LibraryFile *file, Mp4Tracks tracks, MediaInfoRecord *record)
{
    if (tracks.audio != NO_TRACK) {
        int channels = MP4GetTrackAudioChannels(file, tracks.audio);
        record->channels = channels < 0 ? 0 : static_cast<uint32_t>(channels);
        record->duration = static_cast<float>(Mp4TrackSeconds(file, tracks.audio));
        record->frequency = MP4GetTrackTimeScale(file, tracks.audio);
        record->bitrate = MP4GetTrackBitRate(file, tracks.audio);
    }
    if (tracks.video != NO_TRACK) {
        record->duration = static_cast<float>(Mp4TrackSeconds(file, tracks.video));
        record->container_bitrate = MP4GetTrackBitRate(file, tracks.video);
        record->resolution_x = MP4GetTrackVideoWidth(file, tracks.video);
        record->resolution_y = MP4GetTrackVideoHeight(file, tracks.video);
    }
}

using Mp4TextCall = bool (*)(MP4LibraryFile *, char **);

template <size_t size>
static void Mp4TextFill(MP4LibraryFile *file, Mp4TextCall call, char (&field)[size])
{
    char *text = nullptr;
    if (call(file, &text) && text)
        TextSet(field, text);
    free(text);
}

static void Mp4TextsFill(MP4LibraryFile *file, MediaInfoRecord *record)
{
    Mp4TextFill(file, MP4GetMetadataName, record->title);
    Mp4TextFill(file, MP4GetMetadataAlbum, record->album);
    Mp4TextFill(file, MP4GetMetadataArtist, record->artist);
    Mp4TextFill(file, MP4GetMetadataGenre, record->genre);
    Mp4TextFill(file, MP4GetMetadataComment, record->comment);
    Mp4TextFill(file, MP4GetMetadataWriter, record->composer);
}

static void Mp4NumbersFill(MP4LibraryFile *file, MediaInfoRecord *record)
{
    char *year = nullptr;
    if (MP4GetMetadataYear(file, &year) && year)
        record->year = WholeNumber(year);  // a date is no year
    free(year);

    uint16_t number = 0;
    uint16_t total = 0;
    if (MP4GetMetadataTrack(file, &number, &total))
        record->track = number;
    if (MP4GetMetadataDisk(file, &number, &total))
        record->disc = number;
}

static int Mp4OpenFileRead(MP4LibraryFile *file, const char *path, MediaInfoRecord *record)
{
    if (MP4GetNumberOfTracks(file) == 0) {
        LogParen(LOG_HERE, "No tracks in mp4.");
        return -1;
    }
    Mp4TracksFill(file, Mp4TracksFind(file), record);
    Mp4TextsFill(file, record);
    if (Mp4SaveCoverArt(file, path) == 1)
        record->cover_count = 1;
    Mp4NumbersFill(file, record);
    return 0;
}

int Mp4ReadTags(const char *path, MediaInfoRecord *record)
{
    char folder[4096] = "";
    if (GetCoverFolder(path, folder, sizeof folder))
        (void)CleanOldCover(folder);
    MP4LibraryFile *file = MP4Read(path, 0);
    if (!file) {
        LogColon(LOG_HERE, "Failed to parse mp4 metadata from [%s].", path);
        return -1;
    }
    int result = Mp4OpenFileRead(file, path, record);
    MP4Close(file);
    return result;
}

uint64_t Mp4TrackSeconds(MP4LibraryFile *file, uint32_t track_id)
{
    uint64_t duration = MP4GetTrackDuration(file, track_id);
    if (duration == MP4_LIBRARY_INVALID_DURATION)
        return 0;
    uint64_t seconds = MP4ConvertFromTrackDuration(file, track_id, duration, 1);
    return seconds == MP4_LIBRARY_INVALID_DURATION ? 0 : seconds;  // the time scale is 0
}
