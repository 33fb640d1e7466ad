// A whole batch through the real queue: 5,000 files that need no probe, from the queue line to the database row.
// Time a file is the figure; the folder, its files and an empty database are made anew for every round.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <string>

#include "common/paths.h"
#include "daemon/index_queue.h"
#include "platform/media_index.h"
#include "support/scratch.h"

static constexpr int FILES = 5000;

static std::string FileName(int i)
{
    char name[64];
    snprintf(name, sizeof name, "/volume1/video/Season %02d/Episode %04d.srt", i % 25, i);
    return Scratch(name);
}

static void FilesMake()
{
    ScratchReset();
    for (int i = 0; i < FILES; i++)
        WriteFile(FileName(i), "1\n");
    (void)NUBOTruncateTable("video");
    (void)NUBOTruncateTable("directory");
}

static void BatchRun(benchmark::State &state, const std::string &queue)
{
    for (auto _ : state) {
        state.PauseTiming();
        FilesMake();
        WriteFile(INDEX_QUEUE_PATH, queue);
        state.ResumeTiming();
        IndexQueueProcess();
    }
    state.counters["per_file"] =
        benchmark::Counter(FILES, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// One line for the folder above them all.
static void OneFolder(benchmark::State &state)
{
    BatchRun(state, "A:" + Scratch("/volume1/video") + "\n");
}

// One line a file.
static void SingleFiles(benchmark::State &state)
{
    std::string queue;
    for (int i = 0; i < FILES; i++)
        queue += "a:" + FileName(i) + "\n";
    BatchRun(state, queue);
}

// The same rows again: updates instead of inserts.
static void OneFolderAgain(benchmark::State &state)
{
    FilesMake();
    const std::string queue = "A:" + Scratch("/volume1/video") + "\n";
    for (auto _ : state) {
        state.PauseTiming();
        WriteFile(INDEX_QUEUE_PATH, queue);
        state.ResumeTiming();
        IndexQueueProcess();
    }
    state.counters["per_file"] =
        benchmark::Counter(FILES, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(OneFolder)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SingleFiles)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(OneFolderAgain)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    const std::string settings = Scratch("-state") + "/platform.conf";
    WriteFile(settings, "state_dir = " + Scratch("-state") + "\n");
    setenv("NUBO_PLATFORM_CONF", settings.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return system(("rm -rf '" + Scratch("-state") + "'").c_str()) == 0 ? 0 : 1;
}
