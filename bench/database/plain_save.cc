#include "database/plain_save.h"

#include <libpq-fe.h>
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <iterator>
#include <string>

#include "database/sample_rows.h"

static const char *const COLUMNS[] = {
    "path",        "title",      "album",        "artist",       "genre",
    "composer",    "comment",    "camera_make",  "camera_model", "exposure_time",
    "aperture",    "date_taken", "create_time",  "modify_time",  "duration",
    "track",       "disc",       "year",         "bitrate",      "container_bitrate",
    "frequency",   "channels",   "resolution_x", "resolution_y", "filesize",
    "cover_count", "iso",
};
static constexpr int COLUMN_COUNT = std::size(COLUMNS);
static constexpr int TEXT_COUNT = 14;  // the columns up to the times

static std::string SaveStatement(const char *key)
{
    std::string columns, values, updates;
    for (int i = 0; i < COLUMN_COUNT; i++) {
        columns += std::string(i ? ", " : "") + COLUMNS[i];
        values += (i ? ", $" : "$") + std::to_string(i + 1);
        if (i > 0)
            updates += std::string(i > 1 ? ", " : "") + COLUMNS[i] + " = excluded." + COLUMNS[i];
    }
    return "insert into music (" + columns + ") values (" + values + ") on conflict (" + key +
           ") do update set " + updates;
}

struct Row {
    const char *texts[TEXT_COUNT];
    double duration;
    long long integers[COLUMN_COUNT - TEXT_COUNT - 1];
};

static Row RowOf(const MediaInfoRecord &record)
{
    return {{record.path, record.title, record.album, record.artist, record.genre, record.composer,
             record.comment, record.camera_make, record.camera_model, record.exposure_time, record.aperture,
             record.date_taken, record.create_time, record.modify_time},
            static_cast<double>(record.duration),
            {record.track, record.disc, record.year, record.bitrate, record.container_bitrate, record.frequency,
             record.channels, record.resolution_x, record.resolution_y, static_cast<long long>(record.filesize),
             record.cover_count, record.iso}};
}

[[noreturn]] static void Fail(const char *message)
{
    fprintf(stderr, "plain loop: %s\n", message);
    exit(1);
}

static MediaInfoRecord record;

// --- SQLite

static constexpr char SQLITE_SETTINGS[] = "pragma synchronous = normal; pragma wal_autocheckpoint = 8192;"
                                          "pragma cache_size = -512";
static sqlite3 *db;
static sqlite3_stmt *save;

static void SqliteOpen(const char *file)
{
    if (sqlite3_open_v2(file, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK ||
        sqlite3_exec(db, SQLITE_SETTINGS, nullptr, nullptr, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(db, SaveStatement("path").c_str(), -1, &save, nullptr) != SQLITE_OK)
        Fail(sqlite3_errmsg(db));
}

static void SqliteSave(long first_row, long rows)
{
    for (long number = first_row; number < first_row + rows; number++) {
        SampleRecord(&record, number);
        Row row = RowOf(record);
        int column = 0;
        for (const char *text : row.texts)
            sqlite3_bind_text(save, ++column, text, -1, SQLITE_STATIC);
        sqlite3_bind_double(save, ++column, row.duration);
        for (long long integer : row.integers)
            sqlite3_bind_int64(save, ++column, integer);
        if (sqlite3_step(save) != SQLITE_DONE)
            Fail(sqlite3_errmsg(db));
        sqlite3_reset(save);
    }
}

static void SqliteFlush()
{
    sqlite3_file *log = nullptr;
    sqlite3_file_control(db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    if (!log || !log->pMethods || log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) != SQLITE_OK)
        Fail("the log cannot be flushed");
}

static void SqliteClose()
{
    sqlite3_finalize(save);
    sqlite3_close(db);
}

const PlainLoop PLAIN_SQLITE = {SqliteOpen, SqliteSave, SqliteFlush, SqliteClose};

// --- PostgreSQL

static PGconn *link;

static void Expect(PGresult *result, ExecStatusType wanted)
{
    if (PQresultStatus(result) != wanted)
        Fail(PQerrorMessage(link));
    PQclear(result);
}

static void PostgresqlOpen(const char *target)
{
    std::string settings =
        std::string("set synchronous_commit = off; set search_path to ") + PLAIN_BOX + "_media";
    std::string sql = SaveStatement("path_head, path_tail");
    link = PQconnectdb(target);
    if (PQstatus(link) != CONNECTION_OK)
        Fail(PQerrorMessage(link));
    Expect(PQexec(link, settings.c_str()), PGRES_COMMAND_OK);
    Expect(PQprepare(link, "save", sql.c_str(), 0, nullptr), PGRES_COMMAND_OK);
}

static void PostgresqlSave(long first_row, long rows)
{
    static int formats[COLUMN_COUNT] = {1};  // the path is bytes
    static int lengths[COLUMN_COUNT];
    char numbers[COLUMN_COUNT][32];
    for (long number = first_row; number < first_row + rows; number++) {
        SampleRecord(&record, number);
        Row row = RowOf(record);
        const char *values[COLUMN_COUNT];
        int column = 0;
        for (const char *text : row.texts)
            values[column++] = text;
        lengths[0] = static_cast<int>(strlen(record.path));
        snprintf(numbers[column], sizeof numbers[0], "%.17g", row.duration);
        values[column] = numbers[column];
        for (long long integer : row.integers) {
            column++;
            snprintf(numbers[column], sizeof numbers[0], "%lld", integer);
            values[column] = numbers[column];
        }
        Expect(PQexecPrepared(link, "save", COLUMN_COUNT, values, lengths, formats, 0), PGRES_COMMAND_OK);
    }
}

static void PostgresqlFlush()
{
    Expect(PQexec(link, "begin; set local synchronous_commit = on; select txid_current(); commit"),
           PGRES_COMMAND_OK);
}

static void PostgresqlClose()
{
    PQfinish(link);
}

const PlainLoop PLAIN_POSTGRESQL = {PostgresqlOpen, PostgresqlSave, PostgresqlFlush, PostgresqlClose};
