// The AIFF reader. The input is a whole file.
#include <math.h>
#include <stdint.h>

#include "audio/aiff.h"
#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MediaInfoRecord record = {};
    FUZZ_EXPECT(AiffMetaParse(FuzzPath({reinterpret_cast<const char *>(data), size}), &record) == 0);
    FUZZ_EXPECT(record.filesize == size && record.channels <= 0xFFFF && !isnan(record.duration));
    return 0;
}
