// What the guard costs: a probe beside a bare fork that makes the same FFmpeg calls and is waited for without a
// watchdog. Both run over the same files, made once by ffmpeg.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include "index/media_record.h"
#include "video/probe.h"

static constexpr struct {
    const char *name;
    const char *arguments;
} samples[] = {
    {"a.wav", "-f lavfi -i sine=duration=5 -ac 2 -c:a pcm_s16le"},
    {"a.ogg", "-f lavfi -i sine=duration=5 -c:a libvorbis"},
    {"a.mkv", "-f lavfi -i sine=duration=5 -f lavfi -i testsrc=duration=5 -c:v mpeg4 -c:a libvorbis"},
    {"a.avi", "-f lavfi -i sine=duration=5 -f lavfi -i testsrc=duration=5 -c:v mpeg4 -c:a mp2"},
};

static std::string SampleMake(benchmark::State &state)
{
    const auto &sample = samples[state.range(0)];
    std::string path = std::string("/tmp/nubo-probe-bench-") + sample.name;
    if (access(path.c_str(), F_OK) != 0) {
        std::string command = std::string("ffmpeg -v error -nostdin -y ") + sample.arguments + " " + path;
        if (system(command.c_str()) != 0)
            state.SkipWithError("ffmpeg failed");
    }
    state.SetLabel(sample.name);
    return path;
}

static void BareFork(benchmark::State &state)
{
    std::string path = SampleMake(state);
    for (auto _ : state) {
        pid_t pid = fork();
        if (pid == 0) {
            av_log_set_level(AV_LOG_QUIET);
            AVFormatContext *context = nullptr;
            bool good = avformat_open_input(&context, path.c_str(), nullptr, nullptr) >= 0 &&
                        avformat_find_stream_info(context, nullptr) >= 0;
            avformat_close_input(&context);
            _exit(good ? 0 : 1);
        }
        int status = -1;
        waitpid(pid, &status, 0);
        if (status != 0)
            state.SkipWithError("unreadable");
    }
}

static void Probe(benchmark::State &state)
{
    std::string path = SampleMake(state);
    for (auto _ : state) {
        MediaInfoRecord record = {};
        if (MediaProbeRun(path.c_str(), &record) != 0)
            state.SkipWithError("unreadable");
    }
}

// The child's time is what counts, so wall clock.
BENCHMARK(BareFork)->DenseRange(0, 3)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Probe)->DenseRange(0, 3)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
