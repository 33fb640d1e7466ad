// Start codes, sequence headers and the first sound of video CD files. The input is a whole file.
#include <stdint.h>

#include "fuzz_file.h"
#include "video/metavideo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MediaInfoRecord record = {};
    int result = VideoMetaParse(FuzzPath({reinterpret_cast<const char *>(data), size}), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(record.resolution_x < 1 << 14 && record.resolution_y < 1 << 14);
    FUZZ_EXPECT(record.channels <= 3);
    FUZZ_EXPECT(record.bitrate <= 448000 && record.frequency <= 48000);
    if (result == -1)
        FUZZ_EXPECT(record.resolution_x == 0 && record.container_bitrate == 0 && record.bitrate == 0);
    return 0;
}
