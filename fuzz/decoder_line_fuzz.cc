// The line of the AAC decoder program, as it comes from the pipe: cut at 1023 characters and at a NUL.
#include <stdint.h>

#include <algorithm>
#include <string>

#include "audio/aac.h"
#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string line(reinterpret_cast<const char *>(data), std::min<size_t>(size, 1023));
    MediaInfoRecord record = {};
    int result = AacLineScan(line.c_str(), &record);
    FUZZ_EXPECT(result == 0 || result == -1);
    FUZZ_EXPECT(result == -1 || line.find("duration;") != std::string::npos);
    FUZZ_EXPECT(record.path[0] == '\0' && record.title[0] == '\0');
    return 0;
}
