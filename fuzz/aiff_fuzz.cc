// The AIFF reader. The input is a whole file.
#include <math.h>
#include <stdint.h>

#include "audio/aiff_reader.h"
#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    AiffFile *file = AiffOpen(FuzzPath({reinterpret_cast<const char *>(data), size}), AIFF_READ);
    uint64_t frames = 0;
    int channels = 0;
    double rate = 0;
    int sample_size = 0;
    int bytes_per_sample = 0;
    int result = AiffGetAudioFormat(file, &frames, &channels, &rate, &sample_size, &bytes_per_sample);
    FUZZ_EXPECT(result == (file ? 1 : -1));
    FUZZ_EXPECT(frames <= UINT32_MAX && !isnan(rate));
    FUZZ_EXPECT(channels >= 0 && channels <= UINT16_MAX && sample_size >= 0 && sample_size <= UINT16_MAX);
    FUZZ_EXPECT(bytes_per_sample * 8 >= sample_size && bytes_per_sample * 8 < sample_size + 8);
    AiffClose(file);
    return 0;
}
