// What rows cost through the libraries on each engine: saved, beside a plain loop over the engine's own interface in
// the same run; and folders deleted and listed, and what a pass did not see swept out, in a library of a million. What
// is compared takes turns, because the machine has other things to do; the figures are medians.
// Usage: database_bench [save|folders]
// PostgreSQL is measured with the socket folder of a server in NUBO_BENCH_POSTGRESQL; see scripts/bench.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "database/plain_save.h"
#include "database/sample_rows.h"
#include "nlib/config.h"
#include "nubodb/database.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"

static constexpr long SAVE_ROWS = 8000;  // a batch
static constexpr long SAVE_SLICE = 100;
static constexpr int SAVE_ROUNDS = 7;
static constexpr int DELETE_ROUNDS = 9;
static constexpr int LIST_ROUNDS = 201;
static constexpr int SWEEP_ROUNDS = 5;
static constexpr int SWEEP_ROWS = 1000;

struct Engine {
    const char *name;
    const PlainLoop *plain;
    const char *numbers;    // a table of the numbers i from 0 to below ROWS
    const char *song_path;  // of the row with number i
    const char *photo_path;
};

static const Engine ENGINES[] = {
    {"sqlite", &PLAIN_SQLITE,
     "(with recursive n(i) as (select 0 union all select i + 1 from n where i + 1 < ROWS) select i from n) as "
     "n",
     "printf('/volume1/music/Artist %04d/Album %02d/%02d Title.mp3', i / 1000, i / 20 % 50, i % 20)",
     "printf('/volume1/photo/Album %05d/Picture %06d.jpg', i / 20, i)"},
    {"postgresql", &PLAIN_POSTGRESQL, "generate_series(0, ROWS - 1) as n(i)",
     "format('/volume1/music/Artist %s/Album %s/%s Title.mp3', to_char(i / 1000, 'FM0000'),"
     " to_char(i / 20 % 50, 'FM00'), to_char(i % 20, 'FM00'))::bytea",
     "format('/volume1/photo/Album %s/Picture %s.jpg', to_char(i / 20, 'FM00000'), to_char(i, "
     "'FM000000'))::bytea"},
};

static std::string folder;  // of this run
static std::string target;  // the connection string; empty: no server

static double Seconds(clockid_t clock)
{
    struct timespec now;
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

static double TimeOf(const std::function<void()> &work)
{
    double begin = Seconds(CLOCK_MONOTONIC);
    work();
    return Seconds(CLOCK_MONOTONIC) - begin;
}

static double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

static void Expect(bool good, const char *what)
{
    if (good)
        return;
    fprintf(stderr, "failed: %s\n", what);
    exit(1);
}

// An empty database of this name, both libraries connected to it.
static void EngineUse(const Engine &engine, const std::string &box)
{
    DbClose();
    std::string state = folder + "/" + box;
    std::string settings = folder + "/platform.conf";
    std::filesystem::remove_all(state);
    FILE *file = fopen(settings.c_str(), "w");
    Expect(file, "settings");
    fprintf(file, "state_dir = %s\nbox = %s\n", state.c_str(), box.c_str());
    if (engine.plain == &PLAIN_POSTGRESQL)
        fprintf(file, "database = %s\n", target.c_str());
    fclose(file);
    PlatformSettingsLoad(settings.c_str());
    if (engine.plain == &PLAIN_POSTGRESQL) {
        std::string drop = "drop schema if exists " + box + "_media, " + box + "_photo cascade";
        Expect(DbRun(DbOpen(DB_MEDIA), drop.c_str()) >= 0, "drop");
        DbClose();
    }
    Expect(DbOpen(DB_MEDIA) && DbOpen(DB_PHOTO), "open");
}

// --- saving

struct Cost {
    double time;       // seconds
    double processor;  // of this process
};

static Cost CostOf(const std::function<void()> &work)
{
    double processor = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    double time = TimeOf(work);
    return {time, Seconds(CLOCK_PROCESS_CPUTIME_ID) - processor};
}

static void CostAdd(Cost *sum, const Cost &cost)
{
    sum->time += cost.time;
    sum->processor += cost.processor;
}

static void LibrarySave(long first_row, long rows)
{
    static MediaInfoRecord record;
    for (long row = first_row; row < first_row + rows; row++) {
        SampleRecord(&record, row);
        Expect(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record) == 0, "save");
    }
}

static void LibraryFlush()
{
    (void)BlNUBOIndexIsMusicTableDirty();  // as at the end of a batch
}

// One batch each way. They take turns every few rows, so that both meet the same machine.
static void BatchesSave(const PlainLoop &plain_loop, long first_row, Cost *library, Cost *plain)
{
    for (long row = first_row; row < first_row + SAVE_ROWS; row += SAVE_SLICE) {
        CostAdd(library, CostOf([&] { LibrarySave(row, SAVE_SLICE); }));
        CostAdd(plain, CostOf([&] { plain_loop.save(row, SAVE_SLICE); }));
    }
    CostAdd(library, CostOf(LibraryFlush));
    CostAdd(plain, CostOf(plain_loop.flush));
}

static void CostPrint(const Engine &engine, const char *what, const std::vector<Cost> &costs)
{
    std::vector<double> times, processor;
    for (const Cost &cost : costs) {
        times.push_back(cost.time / SAVE_ROWS);
        processor.push_back(cost.processor / SAVE_ROWS);
    }
    printf("%-10s  save a row %-20s %6.1f us, %5.1f of them own processor time; %6.0f rows/s\n", engine.name,
           what, Median(times) * 1e6, Median(processor) * 1e6, 1 / Median(times));
}

static void SaveCompare(const Engine &engine)
{
    EngineUse(engine, PLAIN_BOX);  // makes the plain loop's table
    EngineUse(engine, "library");
    std::string plain_file = folder + "/" + PLAIN_BOX + "/media.db";
    engine.plain->open(engine.plain == &PLAIN_SQLITE ? plain_file.c_str() : target.c_str());

    std::vector<Cost> library, plain;
    std::vector<double> ratios;
    for (int round = 0; round < SAVE_ROUNDS; round++) {
        Cost own = {}, other = {};
        BatchesSave(*engine.plain, round * SAVE_ROWS, &own, &other);
        library.push_back(own);
        plain.push_back(other);
        ratios.push_back(other.time / own.time);
    }
    engine.plain->close();
    CostPrint(engine, "through the library", library);
    CostPrint(engine, "in a plain loop", plain);
    printf("%-10s  library : plain loop %25.0f %%\n", engine.name, 100 * Median(ratios));
}

// --- folders

static void Replace(std::string *text, const char *word, const std::string &by)
{
    size_t at = text->find(word);
    if (at != text->npos)
        text->replace(at, strlen(word), by);
}

static void RowsLoad(const Engine &engine, DbName database, const char *select, long rows)
{
    std::string sql = std::string(select) + " from " + engine.numbers;
    Replace(&sql, "SONG", engine.song_path);
    Replace(&sql, "PHOTO", engine.photo_path);
    Replace(&sql, "ROWS", std::to_string(rows));
    Expect(DbRun(DbOpen(database), sql.c_str()) == rows, sql.c_str());
    DbClose();  // with it goes the statement, whose text does not stay
}

// What an engine knows of its rows: SQLite never looks, a server does some time after they came.
static void Analyse(const Engine &engine, DbName database, const std::function<void(const char *)> &measure)
{
    if (engine.plain == &PLAIN_SQLITE) {
        measure("");
        return;
    }
    measure("(not analysed)");
    Expect(DbRun(DbOpen(database), "analyze") >= 0, "analyze");
    measure("(analysed)");
}

static constexpr char SONGS_LOAD[] =
    "insert into music (path, track, disc, year, title, album, artist, genre, composer, comment, camera_make,"
    " camera_model, exposure_time, aperture, date_taken, create_time, modify_time, duration, bitrate,"
    " container_bitrate, frequency, channels, resolution_x, resolution_y, filesize, cover_count, iso)"
    " select SONG, 1, 1, 1999, 'Title of the song', 'Name of the album', 'Name of the artist', 'Rock', '', '', "
    "'',"
    " '', '', '', '', '2026-03-01 12:00:00', '2026-03-01 12:00:00', 245.5, 192000, 192000, 44100, 2, 0, 0, "
    "5892311,"
    " 0, 0";

// Every artist is there once, and the next one to go is `first`.
static void FoldersDelete(const Engine &engine, long rows, int first, const char *statistics)
{
    std::vector<double> times;
    for (int round = 0; round < DELETE_ROUNDS; round++) {
        char path[64];
        snprintf(path, sizeof path, "/volume1/music/Artist %04d", first + round);
        times.push_back(TimeOf([&] {
            Expect(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, path) == 0, "delete");
            (void)BlNUBOIndexIsMusicTableDirty();
        }));
    }
    printf("%-10s  delete a folder of %d out of %7ld  %8.2f ms %s\n", engine.name, ARTIST_ROWS, rows,
           Median(times) * 1e3, statistics);
}

static void FolderDelete(const Engine &engine, long rows)
{
    EngineUse(engine, "songs");
    RowsLoad(engine, DB_MEDIA, SONGS_LOAD, rows);
    int first = 0;
    Analyse(engine, DB_MEDIA, [&](const char *statistics) {
        FoldersDelete(engine, rows, first, statistics);
        first += DELETE_ROUNDS;
    });
}

static constexpr char PHOTOS_LOAD[] =
    "insert into photo (path, name, title, description, album, camera_make, camera_model, exposure_time, "
    "aperture,"
    " date_taken, create_time, resolution_x, resolution_y, iso, filesize, updated) select PHOTO, 'Picture.jpg',"
    " 'Picture', '', 'Album', 'Maker', 'Camera', '1/60', '2.8', '2026:03:01 12:00:00', 'Sun Mar  1 12:00:00 "
    "2026',"
    " 4000, 3000, 100, 3123456, 1";

// As the pass over the photo share asks for what it knows of a folder.
static void FoldersList(const Engine &engine, long rows, const char *statistics)
{
    std::vector<double> times;
    for (int round = 0; round < LIST_ROUNDS; round++) {
        char condition[256];
        long album = rows / ALBUM_ROWS / LIST_ROUNDS * round;
        snprintf(
            condition, sizeof condition,
            "path like '/volume1/photo/Album %05ld/%%' and path not like '/volume1/photo/Album %05ld/%%/%%'",
            album, album);
        times.push_back(TimeOf([&] {
            NuboDbHandle *handle = PhotoInfoDBOpen(0, "path", condition, 0, "path asc", 0, 0);
            Expect(handle && handle->row_count == ALBUM_ROWS, "list");
            PhotoInfoDBClose(handle);
        }));
    }
    printf("%-10s  list a folder of %d out of %7ld    %8.1f us %s\n", engine.name, ALBUM_ROWS, rows,
           Median(times) * 1e6, statistics);
}

// At the end of a pass, which did not see these.
static void UnseenSweep(const Engine &engine, long rows, const char *statistics)
{
    std::vector<double> times;
    for (int round = 0; round < SWEEP_ROUNDS; round++) {
        std::string unmark = "update photo set updated = 0 where path in (select path from photo limit " +
                             std::to_string(SWEEP_ROWS) + ")";
        Expect(PhotoDBExec(unmark.c_str()) == SWEEP_ROWS, "unmark");
        (void)BlNUBOIndexIsMusicTableDirty();
        times.push_back(TimeOf([&] {
            Expect(NUBOPhotoDeleteNoUpdateRows() == 0, "sweep");
            (void)BlNUBOIndexIsMusicTableDirty();
        }));
    }
    printf("%-10s  sweep %d out of %7ld               %8.2f ms %s\n", engine.name, SWEEP_ROWS, rows,
           Median(times) * 1e3, statistics);
}

static void PhotosMeasure(const Engine &engine, long rows)
{
    EngineUse(engine, "photos");
    RowsLoad(engine, DB_PHOTO, PHOTOS_LOAD, rows);
    Analyse(engine, DB_PHOTO, [&](const char *statistics) { FoldersList(engine, rows, statistics); });
    UnseenSweep(engine, rows, "");
}

static void EngineMeasure(const Engine &engine, const char *part)
{
    if (!*part || !strcmp(part, "save"))
        SaveCompare(engine);
    if (!*part || !strcmp(part, "folders")) {
        for (long rows : {20000L, 1000000L}) {
            FolderDelete(engine, rows);
            PhotosMeasure(engine, rows);
        }
    }
    DbClose();
}

int main(int argc, char **argv)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    char name[] = "/var/tmp/nubo-database-bench-XXXXXX";  // on a disk
    Expect(mkdtemp(name), "folder");
    folder = name;
    if (const char *socket = getenv("NUBO_BENCH_POSTGRESQL"))
        target = std::string("host=") + socket + " user=postgres dbname=postgres";
    for (const Engine &engine : ENGINES) {
        bool has_server = engine.plain != &PLAIN_POSTGRESQL || !target.empty();
        if (has_server)
            EngineMeasure(engine, argc > 1 ? argv[1] : "");
        else
            printf("%-10s  not measured: no server in NUBO_BENCH_POSTGRESQL\n", engine.name);
    }
    std::filesystem::remove_all(folder);
    return 0;
}
