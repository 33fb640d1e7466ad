// Tracks, tags and covers of MP4 files through the library that the build has chosen. The input is a whole file.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "audio/mp4_tags.h"
#include "fuzz_file.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

static constexpr unsigned long COVER_SIZE_MAX = 1 << 20;

static bool IsTerminated(const char (&field)[255])
{
    return strnlen(field, sizeof field) < sizeof field;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    ScratchReset();
    MakeFolder(Scratch("/covers"));
    FuzzLimitFileSize(COVER_SIZE_MAX);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int initialised = LLVMFuzzerInitialize(nullptr, nullptr);
    (void)initialised;
    static const std::string cover = Scratch("/covers/cover");
    platform.calls.clear();
    remove(cover.c_str());

    MediaInfoRecord record = {};
    int result = Mp4ReadTags(FuzzPath({reinterpret_cast<const char *>(data), size}), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(IsTerminated(record.title) && IsTerminated(record.album) && IsTerminated(record.artist));
    FUZZ_EXPECT(IsTerminated(record.genre) && IsTerminated(record.composer) && IsTerminated(record.comment));
    FUZZ_EXPECT(record.track >= 0 && record.track <= UINT16_MAX && record.disc >= 0 &&
                record.disc <= UINT16_MAX);
    FUZZ_EXPECT(record.duration >= 0.0f && record.channels <= UINT16_MAX);
    FUZZ_EXPECT(result == 0 || record.cover_count == 0);
    FUZZ_EXPECT(record.cover_count == 0 || (record.cover_count == 1 && !ReadFile(cover).empty()));
    return 0;
}
