// What a row costs through the libraries, beside the engine's own interface doing the same in a plain loop; and what
// a folder costs to delete and to list in a large library. Everything lies in a folder below /tmp.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <string>

#include "nlib/config.h"
#include "nubodb/database.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"

static constexpr int FOLDER_ROWS = 20;
static constexpr int ARTIST_ROWS = 1000;  // 50 folders

static std::string state;

static void StateFresh()
{
    DbClose();
    std::filesystem::remove_all(state);
    std::filesystem::create_directories(state);
}

static void PathMake(char (&path)[4096], long row)
{
    snprintf(path, sizeof path, "/volume1/music/Artist %04ld/Album %02ld/%02ld Title of the song.mp3",
             row / ARTIST_ROWS, row / FOLDER_ROWS % (ARTIST_ROWS / FOLDER_ROWS), row % FOLDER_ROWS);
}

static void RecordMake(MediaInfoRecord *record, long row)
{
    PathMake(record->path, row);
    strcpy(record->title, "Title of the song");
    strcpy(record->album, "Name of the album");
    strcpy(record->artist, "Name of the artist");
    strcpy(record->genre, "Rock");
    strcpy(record->create_time, "2026-03-01 12:00:00");
    strcpy(record->modify_time, "2026-03-01 12:00:00");
    record->duration = 245.5f;
    record->bitrate = 192000;
    record->frequency = 44100;
    record->channels = 2;
    record->filesize = 5892311;
}

static void RowsSave(long rows)
{
    static MediaInfoRecord record;
    for (long row = 0; row < rows; row++) {
        RecordMake(&record, row);
        if (MediaInfoDBSave(MEDIA_KIND_MUSIC, &record) != 0)
            abort();
    }
}

static void SaveThroughLibrary(benchmark::State &bench)
{
    for (auto _ : bench) {
        bench.PauseTiming();
        StateFresh();
        (void)MediaDBVacuum();
        bench.ResumeTiming();
        RowsSave(bench.range(0));
        (void)BlNUBOIndexIsMusicTableDirty();  // the flush at the end of a batch
    }
    bench.SetItemsProcessed(bench.iterations() * bench.range(0));
}
BENCHMARK(SaveThroughLibrary)->Arg(20000)->Unit(benchmark::kMillisecond)->UseRealTime();

static constexpr char PLAIN_SETTINGS[] = "pragma synchronous = normal; pragma wal_autocheckpoint = 8192;"
                                         "pragma cache_size = -512";
static constexpr char PLAIN_SAVE[] =
    "insert into music values ($1, 0, 0, 0, $2, $3, $4, $5, '', '', '', '', '', '', '', $6, $6, $7, $8, 0, $9, "
    "$10, 0,"
    " 0, $11, 0, 0) on conflict (path) do update set title = excluded.title, album = excluded.album,"
    " artist = excluded.artist, genre = excluded.genre, duration = excluded.duration, bitrate = "
    "excluded.bitrate,"
    " filesize = excluded.filesize";

static void PlainSave(sqlite3_stmt *save, const MediaInfoRecord &record)
{
    int number = 0;
    for (const char *text :
         {record.path, record.title, record.album, record.artist, record.genre, record.create_time})
        sqlite3_bind_text(save, ++number, text, -1, SQLITE_STATIC);
    sqlite3_bind_double(save, ++number, static_cast<double>(record.duration));
    for (sqlite3_int64 value :
         {static_cast<sqlite3_int64>(record.bitrate), static_cast<sqlite3_int64>(record.frequency),
          static_cast<sqlite3_int64>(record.channels), static_cast<sqlite3_int64>(record.filesize)})
        sqlite3_bind_int64(save, ++number, value);
    if (sqlite3_step(save) != SQLITE_DONE)
        abort();
    sqlite3_reset(save);
}

// The library makes the file, so that the schema is the same.
static void SaveInPlainLoop(benchmark::State &bench)
{
    static MediaInfoRecord record;
    for (auto _ : bench) {
        bench.PauseTiming();
        StateFresh();
        (void)MediaDBVacuum();
        DbClose();
        sqlite3 *db = nullptr;
        sqlite3_stmt *save = nullptr;
        if (sqlite3_open((state + "/media.db").c_str(), &db) != SQLITE_OK ||
            sqlite3_exec(db, PLAIN_SETTINGS, nullptr, nullptr, nullptr) != SQLITE_OK ||
            sqlite3_prepare_v2(db, PLAIN_SAVE, -1, &save, nullptr) != SQLITE_OK)
            abort();
        bench.ResumeTiming();
        for (long row = 0; row < bench.range(0); row++) {
            RecordMake(&record, row);
            PlainSave(save, record);
        }
        sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        bench.PauseTiming();
        sqlite3_finalize(save);
        sqlite3_close(db);
        bench.ResumeTiming();
    }
    bench.SetItemsProcessed(bench.iterations() * bench.range(0));
}
BENCHMARK(SaveInPlainLoop)->Arg(20000)->Unit(benchmark::kMillisecond)->UseRealTime();

static void FolderDelete(benchmark::State &bench)
{
    StateFresh();
    RowsSave(bench.range(0));
    int artist = 0;
    for (auto _ : bench) {
        char folder[64];
        snprintf(folder, sizeof folder, "/volume1/music/Artist %04d", artist++);
        if (MediaInfoDBDelete(MEDIA_KIND_SUBTREE, folder) != 0)
            abort();
    }
    bench.SetItemsProcessed(bench.iterations() * ARTIST_ROWS);
}
BENCHMARK(FolderDelete)->Arg(20000)->Arg(100000)->Iterations(10)->Unit(benchmark::kMillisecond)->UseRealTime();

static void FolderList(benchmark::State &bench)
{
    StateFresh();
    RowsSave(bench.range(0));
    for (auto _ : bench) {
        NuboDbHandle *handle = MediaInfoDBOpen(MEDIA_KIND_MUSIC, "path",
                                               "path like '/volume1/music/Artist 0007/Album 07/%' and "
                                               "path not like '/volume1/music/Artist 0007/Album 07/%/%'",
                                               0, "path asc", 0, 0, 0);
        if (!handle || handle->row_count != FOLDER_ROWS)
            abort();
        PhotoInfoDBClose(handle);
    }
}
BENCHMARK(FolderList)->Arg(20000)->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();

int main(int argc, char **argv)
{
    char folder[] = "/tmp/nubo-database-bench-XXXXXX";
    if (!mkdtemp(folder))
        return 1;
    state = std::string(folder) + "/state";
    std::string settings = std::string(folder) + "/platform.conf";
    FILE *file = fopen(settings.c_str(), "w");
    if (!file)
        return 1;
    fprintf(file, "state_dir = %s\n", state.c_str());
    fclose(file);
    PlatformSettingsLoad(settings.c_str());

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    DbClose();
    std::filesystem::remove_all(folder);
}
