// The pixel size of a picture from its header: JPEG and PNG directly, the other formats through the general library.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "platform/media_index.h"

static constexpr const char *formats[] = {"jpg", "png", "gif", "bmp", "tiff"};

static void ImageSize(benchmark::State &state)
{
    const char *format = formats[state.range(0)];
    std::string path = std::string("/tmp/nubo-image-bench.") + format;
    if (access(path.c_str(), F_OK) != 0) {
        std::string command =
            "ffmpeg -v error -nostdin -f lavfi -i testsrc=size=2000x1500 -frames:v 1 -y " + path;
        if (system(command.c_str()) != 0)
            state.SkipWithError("ffmpeg failed");
    }
    state.SetLabel(format);
    for (auto _ : state) {
        int width = 0;
        int height = 0;
        if (NUBOIndexImgResGet(path.c_str(), &width, &height) != 0 || width != 2000 || height != 1500)
            state.SkipWithError("unreadable");
    }
}

BENCHMARK(ImageSize)->DenseRange(0, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
