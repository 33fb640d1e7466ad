// The line of the AAC decoder.
#include <stdint.h>

#include <string>

#include "audio/aac.h"
#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static constexpr size_t LINE_MAX_LENGTH = 1023;
    std::string line(reinterpret_cast<const char *>(data), size < LINE_MAX_LENGTH ? size : LINE_MAX_LENGTH);
    MediaInfoRecord record = {};
    int result = AacLineScan(line.c_str(), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(record.title[0] == '\0' && record.filesize == 0);  // nothing but the four values
    return 0;
}
