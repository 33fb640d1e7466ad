// Comparisons of shares in which nothing, or little, has changed. Files a second are the figure; the folders are in
// the system's cache, as they are when a share is compared for the second time.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/index_queue.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"
#include "sync/sync.h"

namespace fs = std::filesystem;

static constexpr int FILES_A_FOLDER = 100;
static constexpr int FOLDERS_A_FOLDER = 20;

// The photo share is told by the place of its name.
static std::string VolumeMake()
{
    for (int number = 0; number < 1000; number++) {
        char path[16];
        snprintf(path, sizeof path, "/tmp/%03d", number);
        if (mkdir(path, 0700) == 0)
            return path;
    }
    abort();
}

static const std::string VOLUME = VolumeMake();

// Subtitles are listed without being read, and a picture of one byte has nothing to read.
static std::string FilePath(const char *share, const char *extension, int number)
{
    int folder = number / FILES_A_FOLDER;
    char name[96];
    snprintf(name, sizeof name, "/Artist %03d/Album number %04d/Some title of a piece %06d.%s",
             folder / FOLDERS_A_FOLDER, folder, number, extension);
    return VOLUME + share + name;
}

static void SharesMake(const char *share, const char *extension, int files)
{
    ScratchReset();
    fs::remove_all(VOLUME);
    for (const auto &[link, name] :
         {std::pair(MUSIC_SHARE_LINK, "/music"), std::pair(PHOTO_SHARE_LINK, "/photo")}) {
        MakeFolder(VOLUME + name);
        fs::create_symlink(VOLUME + name, link);
    }
    for (int i = 0; i < files; i++)
        WriteFile(FilePath(share, extension, i), "x");
    WriteFile(DEFAULT_SETTINGS_PATH, "supportphoto=\"yes\"\n");
    for (const char *table : {"video", "photo", "directory"})
        (void)NUBOTruncateTable(table);
    (void)PhotoDBExec("delete from photo");
    (void)PhotoDBExec("delete from photo_share");
    WriteFile(INDEX_QUEUE_PATH, "R:all\nR:photo\n");
    IndexQueueProcess();
}

static void Compare(benchmark::State &state, const char *share, const char *extension, int changes)
{
    auto files = static_cast<int>(state.range(0));
    SharesMake(share, extension, files);
    for (int i = 0; i < changes; i++)
        WriteFile(FilePath(share, extension, i * (files / changes)), "changed");
    SyncReport report;
    for (auto _ : state) {
        std::ostringstream out;
        SyncOptions options;
        options.queue = false;
        if (SyncRun(options, report, Output{out, out, 0}) != TOOL_OK)
            state.SkipWithError(out.str().c_str());
    }
    if (report.files != static_cast<size_t>(files) || report.changed != static_cast<size_t>(changes) ||
        report.added + report.removed > 0)
        state.SkipWithError("another difference than was made");
    state.counters["files_per_second"] =
        benchmark::Counter(files, benchmark::Counter::kIsIterationInvariantRate);
}

static void Unchanged(benchmark::State &state)
{
    Compare(state, "/music", "srt", 0);
}

static void UnchangedPhotos(benchmark::State &state)
{
    Compare(state, "/photo", "jpg", 0);
}

static void ThousandChanged(benchmark::State &state)
{
    Compare(state, "/music", "srt", 1000);
}

BENCHMARK(Unchanged)->Arg(10000)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(UnchangedPhotos)->Arg(20000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ThousandChanged)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    const std::string state_folder = Scratch("-state");
    WriteFile(state_folder + "/platform.conf", "state_dir = " + state_folder + "\n");
    setenv("NUBO_PLATFORM_CONF", (state_folder + "/platform.conf").c_str(), 1);
    supportphoto = 1;

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(VOLUME);
    fs::remove_all(state_folder);
    return 0;
}
