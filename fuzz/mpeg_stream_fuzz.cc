// The video CD reader. The input is a whole file.
#include <stdint.h>

#include "fuzz_file.h"
#include "video/metavideo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MediaInfoRecord record = {};
    int result = VideoMetaParse(FuzzPath({reinterpret_cast<const char *>(data), size}), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(record.resolution_x < 1 << 14 && record.resolution_y < 1 << 14 && record.channels <= 3);
    return 0;
}
