// The MP4 calls answered without libmp4v2: everything was read at the opening.
#include <stdlib.h>
#include <string.h>

#include "audio/mp4_facts.h"
#include "audio/mp4_library.h"

MP4LibraryFile *MP4Read(const char *path, int)
{
    return Mp4FactsRead(path);
}

void MP4Close(MP4LibraryFile *file)
{
    delete file;
}

static const Mp4Track *TrackFind(const MP4LibraryFile *file, uint32_t track_id)
{
    for (const Mp4Track &track : file->tracks)
        if (track.id == track_id)
            return &track;
    return nullptr;
}

uint32_t MP4GetNumberOfTracks(MP4LibraryFile *file)
{
    return static_cast<uint32_t>(file->tracks.size());
}

uint32_t MP4FindTrackId(MP4LibraryFile *file, uint16_t index)
{
    return index < file->tracks.size() ? file->tracks[index].id : 0;
}

const char *MP4GetTrackType(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->type : nullptr;
}

uint64_t MP4GetTrackDuration(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->duration : MP4_LIBRARY_INVALID_DURATION;
}

uint64_t MP4ConvertFromTrackDuration(MP4LibraryFile *file, uint32_t track_id, uint64_t duration,
                                     uint32_t time_scale)
{
    const Mp4Track *track = TrackFind(file, track_id);
    if (!track || track->time_scale == 0)
        return MP4_LIBRARY_INVALID_DURATION;
    uint64_t whole = duration / track->time_scale;
    uint64_t rest = duration % track->time_scale;
    if (time_scale != 0 && whole > UINT64_MAX / time_scale - 1)
        return MP4_LIBRARY_INVALID_DURATION;
    return whole * time_scale + rest * time_scale / track->time_scale;
}

uint32_t MP4GetTrackTimeScale(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->time_scale : 0;
}

uint32_t MP4GetTrackBitRate(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->entry.bitrate : 0;
}

int MP4GetTrackAudioChannels(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->entry.channels : -1;
}

uint16_t MP4GetTrackVideoWidth(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->entry.width : 0;
}

uint16_t MP4GetTrackVideoHeight(MP4LibraryFile *file, uint32_t track_id)
{
    const Mp4Track *track = TrackFind(file, track_id);
    return track ? track->entry.height : 0;
}

static bool TextGet(const MP4LibraryFile *file, Mp4Text text, char **value)
{
    *value = file->texts[text] ? strdup(file->texts[text]->c_str()) : nullptr;
    return *value != nullptr;
}

bool MP4GetMetadataName(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_NAME, value);
}

bool MP4GetMetadataAlbum(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_ALBUM, value);
}

bool MP4GetMetadataArtist(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_ARTIST, value);
}

bool MP4GetMetadataGenre(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_GENRE, value);
}

bool MP4GetMetadataComment(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_COMMENT, value);
}

bool MP4GetMetadataWriter(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_WRITER, value);
}

bool MP4GetMetadataYear(MP4LibraryFile *file, char **value)
{
    return TextGet(file, TEXT_YEAR, value);
}

static bool PairGet(const std::optional<Mp4Pair> &pair, uint16_t *number, uint16_t *total)
{
    if (!pair)
        return false;
    *number = pair->number;
    *total = pair->total;
    return true;
}

bool MP4GetMetadataTrack(MP4LibraryFile *file, uint16_t *track, uint16_t *total)
{
    return PairGet(file->track, track, total);
}

bool MP4GetMetadataDisk(MP4LibraryFile *file, uint16_t *disk, uint16_t *total)
{
    return PairGet(file->disk, disk, total);
}

bool MP4GetMetadataCoverArt(MP4LibraryFile *file, uint8_t **cover, uint32_t *size)
{
    *cover = nullptr;
    *size = 0;
    if (!file->cover)
        return false;
    size_t length = file->cover->bytes.size();
    *cover = static_cast<uint8_t *>(malloc(length + 1));  // an empty picture has a buffer too
    if (!*cover)
        return false;
    memcpy(*cover, file->cover->bytes.data(), length);
    *size = static_cast<uint32_t>(length);
    return true;
}

bool MP4GetMetadataCoverArtFileType(MP4LibraryFile *file, uint32_t *type)
{
    if (!file->cover)
        return false;
    *type = file->cover->type;
    return true;
}
