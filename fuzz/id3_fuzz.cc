// The tag readers: ID3v1, all versions of ID3v2 with their pictures, and the merge. The input is a whole file.
#include <stdint.h>
#include <string.h>

#include "fuzz_file.h"
#include "music/id3v1.h"
#include "music/id3v2.h"
#include "music/mp3_merge.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

static bool IsTerminated(const char (&field)[255])
{
    return strnlen(field, sizeof field) < sizeof field;
}

static void ExpectStorable(const MediaInfoRecord &record)
{
    FUZZ_EXPECT(IsTerminated(record.title) && IsTerminated(record.artist) && IsTerminated(record.album));
    FUZZ_EXPECT(IsTerminated(record.genre) && IsTerminated(record.composer) && IsTerminated(record.comment));
    FUZZ_EXPECT(record.year == 0 || (record.year >= 1200 && record.year <= 2200));
    FUZZ_EXPECT(record.cover_count <= 1);
    FUZZ_EXPECT(record.title_encoding <= 1 && record.genre_encoding <= 1);
}

// Pictures that were saved can be read back; the rest leaves nothing behind.
static void ExpectCover(const MediaInfoRecord &record)
{
    bool is_there = !ReadFile(Scratch("/covers/cover")).empty();
    FUZZ_EXPECT(is_there == (record.cover_count == 1));
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    ScratchReset();
    MakeFolder(Scratch("/covers"));
    WriteFile(Scratch("/volume1/a.mp3"), "x");
    FuzzLimitFileSize(1 << 20);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int initialised = LLVMFuzzerInitialize(nullptr, nullptr);
    (void)initialised;
    static const std::string media = Scratch("/volume1/a.mp3");
    static const std::string cover = Scratch("/covers/cover");
    platform.calls.clear();
    remove(cover.c_str());

    Mp3FileReader reader = {};
    reader.stream = FuzzFile({reinterpret_cast<const char *>(data), size});
    reader.size = static_cast<int64_t>(size);
    Id3v1Tag id3v1 = {};
    Id3v2Tag id3v2 = {};
    FUZZ_EXPECT((Id3v1Read(&reader, &id3v1) == 1) == (reader.size != static_cast<int64_t>(size)));
    int version = 0;
    int64_t tag_size = Id3v2Size(&reader, &version);
    FUZZ_EXPECT(tag_size >= 0 && tag_size < int64_t{1} << 30);
    if (tag_size > 0 && version >= 3)
        Id3v2Read(&id3v2, &reader, version, media.c_str());
    else if (tag_size > 0 && version == 2)
        Id3v22Read(&id3v2, &reader, version, media.c_str());

    MpegAudioInfo info = {};
    MediaInfoRecord record = {};
    Mp3TagMerge(&record, &info, &id3v1, &id3v2);
    ExpectStorable(record);
    ExpectCover(record);
    return 0;
}
