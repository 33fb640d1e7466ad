// The EXIF reader and the cleaning of what it found. The input is a whole photo.
#include <stdint.h>
#include <string.h>

#include "common/text.h"
#include "fuzz_file.h"
#include "photo/exif.h"
#include "photo/photo_record.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    PhotoInfoRecord record = {};
    TextSet(record.path, FuzzPath({reinterpret_cast<const char *>(data), size}));
    FUZZ_EXPECT(PhotoExifGet(&record) == 0);
    FUZZ_EXPECT(strnlen(record.aperture, sizeof record.aperture) < sizeof record.aperture);
    PhotoRecordSanitize(&record);
    FUZZ_EXPECT(record.resolution_x >= 0 && record.resolution_x <= 8000);
    return 0;
}
