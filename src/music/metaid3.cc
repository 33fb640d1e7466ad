// The read sequence of an MP3 file. The file is opened once.
#include "music/metaid3.h"

#include <stdio.h>

#include "common/log.h"
#include "common/regular_file.h"
#include "music/id3v1.h"
#include "music/id3v2.h"
#include "music/mp3_merge.h"
#include "music/mp3_reader.h"
#include "music/mpeg_audio.h"
#include "music/mpeg_vbr.h"
#include "platform/media_index.h"

static constexpr char LOG_MODULE[] = "metaid3";

// Covers of an earlier indexing go before new ones are written.
static void OldCoverForget(const char *path)
{
    char folder[4096];
    if (GetCoverFolder(path, folder, sizeof folder))
        (void)CleanOldCover(folder);
}

// The size of the tag at the start of the file, 0 without one. Versions 0 and 1 are skipped unread.
static int64_t Id3v2Take(Mp3FileReader *reader, Id3v2Tag *tag, const char *path)
{
    int version = 0;
    int64_t size = Id3v2Size(reader, &version);
    if (size > 0 && version >= 3)
        Id3v2Read(tag, reader, version, path);
    else if (size > 0 && version == 2)
        Id3v22Read(tag, reader, version, path);
    return size;
}

static int Mp3StreamParse(FILE *stream, const char *path, MediaInfoRecord *record)
{
    Mp3FileReader reader = {};
    reader.stream = stream;
    reader.size = RegularFileSize(LOG_HERE, stream, path);
    if (reader.size < 0)
        return -1;

    Id3v1Tag id3v1 = {};
    if (Id3v1Read(&reader, &id3v1) < 0)
        LogParen(LOG_HERE, "Failed to parse ID3V1.");
    Id3v2Tag id3v2 = {};
    int64_t start = Id3v2Take(&reader, &id3v2, path);

    MpegAudioInfo info = {};
    int64_t frame_offset = 0;
    if (MpegFirstFrameFind(&reader, start, &info, &frame_offset) < 0) {
        LogParen(LOG_HERE, "Can't find valid mpeg header: %s", path);
        return -1;  // the tags are dropped with it
    }
    if (MpegXingRead(&reader, frame_offset, &info) < 0)
        (void)MpegVbriRead(&reader, frame_offset, &info);
    Mp3TagMerge(record, &info, &id3v1, &id3v2);
    return 0;
}

int Mp3MetaParse(const char *path, MediaInfoRecord *record)
{
    if (!path || !record) {
        LogParen(LOG_HERE, "Bad parameters.");
        return -1;
    }
    OldCoverForget(path);
    FILE *stream = RegularFileOpen(path);
    if (!stream) {
        LogParen(LOG_HERE, "Unable to open %s ", path);
        return -1;
    }
    setbuf(stream, nullptr);  // the reader has a cache of its own; a buffer here is filled by the seek alone
    int result = Mp3StreamParse(stream, path, record);
    fclose(stream);
    return result;
}
