// The MP4 calls passed on to libmp4v2 2.x, where tags are fetched as one structure. The library's functions have
// the same names as ours and another type of handle, by which the compiler tells them apart.
#include <mp4v2/mp4v2.h>
#include <stdlib.h>
#include <string.h>

#include "audio/mp4_library.h"
#include "common/regular_file.h"
#include "music/id3_genre.h"

// The atom's numbers of the picture types that the library numbers in its own way.
static constexpr uint32_t COVER_UNDEFINED = 0;
static constexpr uint32_t COVER_GIF = 12;
static constexpr uint32_t COVER_BMP = 27;

struct MP4LibraryFile {
    MP4FileHandle handle;
    const MP4Tags *tags;  // owned; null when it could not be had
};

static const MP4Tags *TagsFetch(MP4FileHandle handle)
{
    const MP4Tags *tags = MP4TagsAlloc();
    if (!tags || MP4TagsFetch(tags, handle))
        return tags;
    MP4TagsFree(tags);
    return nullptr;
}

MP4LibraryFile *MP4Read(const char *path, int verbosity)
{
    if (!IsRegularFile(path))
        return nullptr;
    if (verbosity == 0)
        MP4LogSetLevel(MP4_LOG_NONE);
    MP4LibraryFile *file = static_cast<MP4LibraryFile *>(calloc(1, sizeof *file));
    if (!file)
        return nullptr;
    file->handle = MP4Read(path);
    if (file->handle == MP4_INVALID_FILE_HANDLE) {
        free(file);
        return nullptr;
    }
    file->tags = TagsFetch(file->handle);
    return file;
}

void MP4Close(MP4LibraryFile *file)
{
    if (!file)
        return;
    if (file->tags)
        MP4TagsFree(file->tags);
    MP4Close(file->handle);
    free(file);
}

uint32_t MP4GetNumberOfTracks(MP4LibraryFile *file)
{
    return MP4GetNumberOfTracks(file->handle);
}

uint32_t MP4FindTrackId(MP4LibraryFile *file, uint16_t index)
{
    return MP4FindTrackId(file->handle, index);
}

const char *MP4GetTrackType(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackType(file->handle, track_id);
}

uint64_t MP4GetTrackDuration(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackDuration(file->handle, track_id);
}

uint64_t MP4ConvertFromTrackDuration(MP4LibraryFile *file, uint32_t track_id, uint64_t duration,
                                     uint32_t time_scale)
{
    return MP4ConvertFromTrackDuration(file->handle, track_id, duration, time_scale);
}

uint32_t MP4GetTrackTimeScale(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackTimeScale(file->handle, track_id);
}

uint32_t MP4GetTrackBitRate(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackBitRate(file->handle, track_id);
}

int MP4GetTrackAudioChannels(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackAudioChannels(file->handle, track_id);
}

uint16_t MP4GetTrackVideoWidth(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackVideoWidth(file->handle, track_id);
}

uint16_t MP4GetTrackVideoHeight(MP4LibraryFile *file, uint32_t track_id)
{
    return MP4GetTrackVideoHeight(file->handle, track_id);
}

// A copy: the tags own their texts.
static bool TextGive(const char *text, char **value)
{
    *value = text ? strdup(text) : nullptr;
    return *value != nullptr;
}

bool MP4GetMetadataName(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->name : nullptr, value);
}

bool MP4GetMetadataAlbum(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->album : nullptr, value);
}

bool MP4GetMetadataArtist(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->artist : nullptr, value);
}

// The numbered genre, counted from 1, goes before the free text; a number without a name is an empty genre.
bool MP4GetMetadataGenre(MP4LibraryFile *file, char **value)
{
    const MP4Tags *tags = file->tags;
    if (!tags || !tags->genreType)
        return TextGive(tags ? tags->genre : nullptr, value);
    int number = *tags->genreType;
    return TextGive(number >= 1 && number <= ID3_GENRE_COUNT ? Id3GenreTable[number - 1] : "", value);
}

bool MP4GetMetadataComment(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->comments : nullptr, value);
}

bool MP4GetMetadataWriter(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->composer : nullptr, value);
}

bool MP4GetMetadataYear(MP4LibraryFile *file, char **value)
{
    return TextGive(file->tags ? file->tags->releaseDate : nullptr, value);
}

bool MP4GetMetadataTrack(MP4LibraryFile *file, uint16_t *track, uint16_t *total)
{
    if (!file->tags || !file->tags->track)
        return false;
    *track = file->tags->track->index;
    *total = file->tags->track->total;
    return true;
}

bool MP4GetMetadataDisk(MP4LibraryFile *file, uint16_t *disk, uint16_t *total)
{
    if (!file->tags || !file->tags->disk)
        return false;
    *disk = file->tags->disk->index;
    *total = file->tags->disk->total;
    return true;
}

static const MP4TagArtwork *FirstCover(const MP4LibraryFile *file)
{
    return file->tags && file->tags->artwork && file->tags->artworkCount > 0 ? file->tags->artwork : nullptr;
}

bool MP4GetMetadataCoverArt(MP4LibraryFile *file, uint8_t **cover, uint32_t *size)
{
    *cover = nullptr;
    *size = 0;
    const MP4TagArtwork *artwork = FirstCover(file);
    if (!artwork || (!artwork->data && artwork->size > 0))
        return false;
    *cover = static_cast<uint8_t *>(malloc(size_t{artwork->size} + 1));  // an empty picture has a buffer too
    if (!*cover)
        return false;
    if (artwork->size > 0)
        memcpy(*cover, artwork->data, artwork->size);
    *size = artwork->size;
    return true;
}

bool MP4GetMetadataCoverArtFileType(MP4LibraryFile *file, uint32_t *type)
{
    const MP4TagArtwork *artwork = FirstCover(file);
    if (!artwork)
        return false;
    switch (artwork->type) {
    case MP4_ART_BMP:
        *type = COVER_BMP;
        break;
    case MP4_ART_GIF:
        *type = COVER_GIF;
        break;
    case MP4_ART_JPEG:
        *type = MP4_COVER_JPEG;
        break;
    case MP4_ART_PNG:
        *type = MP4_COVER_PNG;
        break;
    default:
        *type = COVER_UNDEFINED;
        break;
    }
    return true;
}
