// "R:photo" through the real queue: a first run over a photo share, and one over a share that is as the databases
// know it. Photos a second are the figure; from 5,000 to 20,000 photos it must stay what it is.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/index_queue.h"
#include "photo/exif_block.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

static constexpr int FOLDERS = 400;
static constexpr int FOLDERS_AN_ALBUM = 20;
static constexpr size_t PICTURE_SIZE = 4096;

// Photo shares are told by the place of their name, so the share cannot lie in the scratch folder: "/tmp/", three
// digits and "/photo".
static std::string ShareMake()
{
    for (int number = 0; number < 1000; number++) {
        char above[16];
        snprintf(above, sizeof above, "/tmp/%03d", number);
        if (mkdir(above, 0700) == 0)
            return above + std::string("/photo");
    }
    abort();
}

static const std::string SHARE = ShareMake();

// Header, camera data, frame and some content.
static std::string Picture(int number)
{
    ExifWriter writer;
    std::vector<ExifField> fields[5];
    fields[0] = {writer.Text(0x010F, "Maker"), writer.Text(0x0110, "Model " + std::to_string(number % 7))};
    fields[2] = {writer.Rational(0x829A, 1, 60), writer.Rational(0x829D, 28, 10), writer.Short(0x8827, 400),
                 writer.Text(0x9003, "2009:07:15 18:00:00")};
    std::string picture = JpegWithExif(writer.Block(fields));
    static constexpr char frame[] = {'\xFF', '\xC0', 0, 11, 8, 12, 0, 16, 0, 1, 1, 0x11, 0};
    picture.insert(picture.size() - 2, std::string(frame, sizeof frame));
    picture.resize(PICTURE_SIZE);
    return picture;
}

static void PhotosMake(int photos)
{
    ScratchReset();
    fs::remove_all(SHARE);
    for (int i = 0; i < photos; i++) {
        int folder = i % FOLDERS;
        char name[64];
        snprintf(name, sizeof name, "/Album %02d/Day %03d/IMG_%05d.jpg", folder / FOLDERS_AN_ALBUM, folder, i);
        WriteFile(SHARE + name, Picture(i));
    }
    fs::create_symlink(SHARE, PHOTO_SHARE_LINK);
    WriteFile(THUMB_DAEMON_PID_PATH, std::to_string(getpid()));
    for (const char *table : {"photo", "directory"})
        (void)NUBOTruncateTable(table);
    (void)PhotoDBExec("delete from photo");
    (void)PhotoDBExec("delete from photo_share");
}

static int RowCount(int table)
{
    NuboDbHandle *handle = PhotoInfoDBOpen(table, "*", "", 0, nullptr, 0, 0);
    int count = handle ? handle->row_count : -1;
    PhotoInfoDBClose(handle);
    return count;
}

static void FiguresSet(benchmark::State &state, int photos)
{
    static constexpr int TABLE_PHOTO = 0;
    static constexpr int TABLE_PHOTO_SHARE = 3;
    if (RowCount(TABLE_PHOTO) != photos || RowCount(TABLE_PHOTO_SHARE) != FOLDERS + FOLDERS / FOLDERS_AN_ALBUM)
        state.SkipWithError("rows are missing");
    state.counters["photos_per_second"] =
        benchmark::Counter(photos, benchmark::Counter::kIsIterationInvariantRate);
}

static void FirstRun(benchmark::State &state)
{
    auto photos = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        PhotosMake(photos);
        WriteFile(INDEX_QUEUE_PATH, "R:photo\n");
        state.ResumeTiming();
        IndexQueueProcess();
    }
    FiguresSet(state, photos);
}

static void UnchangedRun(benchmark::State &state)
{
    auto photos = static_cast<int>(state.range(0));
    PhotosMake(photos);
    WriteFile(INDEX_QUEUE_PATH, "R:photo\n");
    IndexQueueProcess();
    for (auto _ : state) {
        state.PauseTiming();
        WriteFile(INDEX_QUEUE_PATH, "R:photo\n");
        state.ResumeTiming();
        IndexQueueProcess();
    }
    FiguresSet(state, photos);
}

BENCHMARK(FirstRun)->Arg(5000)->Arg(20000)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(UnchangedRun)->Arg(5000)->Arg(20000)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    const std::string state_folder = Scratch("-state");
    WriteFile(state_folder + "/platform.conf", "state_dir = " + state_folder + "\n");
    setenv("NUBO_PLATFORM_CONF", (state_folder + "/platform.conf").c_str(), 1);
    supportphoto = 1;
    signal(SIGUSR1, SIG_IGN);  // this process stands for the thumbnail daemon

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(fs::path(SHARE).parent_path());
    fs::remove_all(state_folder);
    return 0;
}
