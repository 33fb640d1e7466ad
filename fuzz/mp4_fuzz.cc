// The MP4 reader: atoms, tags and the cover. The input is a whole file.
#include <stdint.h>
#include <string.h>

#include "audio/mp4.h"
#include "fuzz_file.h"
#include "support/scratch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool prepared = [] {
        ScratchReset();
        FuzzLimitFileSize(1 << 20);
        return true;
    }();
    (void)prepared;
    MediaInfoRecord record = {};
    int result = Mp4ReadTags(FuzzPath({reinterpret_cast<const char *>(data), size}), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(strnlen(record.title, sizeof record.title) < sizeof record.title && record.cover_count <= 1);
    return 0;
}
