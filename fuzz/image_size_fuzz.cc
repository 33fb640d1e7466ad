// The pixel sizes of pictures. The input is a whole file.
#include <stdint.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz_file.h"
#include "platform/media_index.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int fd = memfd_create("picture", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(fd);
    FUZZ_EXPECT(ftruncate(fd, 0) == 0);
    FUZZ_EXPECT(pwrite(fd, data, size, 0) == static_cast<ssize_t>(size));

    int width = -7;
    int height = -7;
    if (NUBOIndexImgResGet(path.c_str(), &width, &height) == 0)
        FUZZ_EXPECT(width > 0 && height > 0);
    else
        FUZZ_EXPECT(width == -7 && height == -7);
    return 0;
}
