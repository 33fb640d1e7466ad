// The calls into the MP4 library. The names and the answers are libmp4v2's, whose releases differ in how tags are
// read; the handle's type keeps them apart from that library's own. mp4_library_mp4v2.cc passes them on to
// libmp4v2 2.x, mp4_library_taglib.cc answers them from TagLib's atom tree; the build takes the first one whose
// library is there.
#pragma once

#include <stdint.h>

struct MP4LibraryFile;

// A duration that is not known, and the answer of a conversion that cannot be made.
static constexpr uint64_t MP4_LIBRARY_INVALID_DURATION = UINT64_MAX;

// Types of cover pictures, as the atom numbers them. All other types are handed on as they are.
static constexpr uint32_t MP4_COVER_JPEG = 13;
static constexpr uint32_t MP4_COVER_PNG = 14;

// Opens a file and reads everything but sound and pictures. Null when that fails: no such file, no MP4 file, no
// movie header. Given back with MP4Close.
MP4LibraryFile *MP4Read(const char *path, int verbosity);
void MP4Close(MP4LibraryFile *file);

// Tracks in the order of the file; those that lack a header or a sample table are left out. An id is looked up
// from the first track on, so that of two tracks with one id the second is never seen.
uint32_t MP4GetNumberOfTracks(MP4LibraryFile *file);
uint32_t MP4FindTrackId(MP4LibraryFile *file, uint16_t index);  // 0: no such index

// Four characters ("soun", "vide"), or null. Lives as long as the handle.
const char *MP4GetTrackType(MP4LibraryFile *file, uint32_t track_id);

// In units of the track's time scale; a 32-bit duration of all ones is not known to be invalid.
uint64_t MP4GetTrackDuration(MP4LibraryFile *file, uint32_t track_id);
uint64_t MP4ConvertFromTrackDuration(MP4LibraryFile *file, uint32_t track_id, uint64_t duration,
                                     uint32_t time_scale);
uint32_t MP4GetTrackTimeScale(MP4LibraryFile *file, uint32_t track_id);

// The average of the elementary-stream descriptor, in bit/s; 0 without one.
uint32_t MP4GetTrackBitRate(MP4LibraryFile *file, uint32_t track_id);

int MP4GetTrackAudioChannels(MP4LibraryFile *file, uint32_t track_id);  // -1: no sound track
uint16_t MP4GetTrackVideoWidth(MP4LibraryFile *file, uint32_t track_id);
uint16_t MP4GetTrackVideoHeight(MP4LibraryFile *file, uint32_t track_id);

// Texts byte by byte as they stand in the file, from malloc, the caller's to free. False when there is none.
bool MP4GetMetadataName(MP4LibraryFile *file, char **value);
bool MP4GetMetadataAlbum(MP4LibraryFile *file, char **value);
bool MP4GetMetadataArtist(MP4LibraryFile *file, char **value);
bool MP4GetMetadataGenre(MP4LibraryFile *file, char **value);  // the numbered genre's name before the free text
bool MP4GetMetadataComment(MP4LibraryFile *file, char **value);
bool MP4GetMetadataWriter(MP4LibraryFile *file, char **value);
bool MP4GetMetadataYear(MP4LibraryFile *file, char **value);

// Number and total.
bool MP4GetMetadataTrack(MP4LibraryFile *file, uint16_t *track, uint16_t *total);
bool MP4GetMetadataDisk(MP4LibraryFile *file, uint16_t *disk, uint16_t *total);

// The first picture, from malloc, the caller's to free, and its type.
bool MP4GetMetadataCoverArt(MP4LibraryFile *file, uint8_t **cover, uint32_t *size);
bool MP4GetMetadataCoverArtFileType(MP4LibraryFile *file, uint32_t *type);
