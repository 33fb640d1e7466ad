// The queue: lines of any bytes. The input is a whole queue file; its slashes and dots are taken out, so that no
// request names anything that exists.
#include <stdint.h>

#include <algorithm>
#include <string>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/index_queue.h"
#include "fuzz_file.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool prepared = [] {
        ScratchReset();
        supportphoto = 1;
        supportcinehall = 1;
        return true;
    }();
    (void)prepared;
    std::string queue(reinterpret_cast<const char *>(data), size);
    std::replace(queue.begin(), queue.end(), '/', '_');
    std::replace(queue.begin(), queue.end(), '.', '_');
    platform = PlatformFake{};
    WriteFile(INDEX_QUEUE_PATH, queue);
    IndexQueueProcess();
    FUZZ_EXPECT(platform.saved.empty());
    FUZZ_EXPECT(platform.calls.back() == "BlNUBOIndexIsVideoTableDirty");  // the batch came to its end
    return 0;
}
