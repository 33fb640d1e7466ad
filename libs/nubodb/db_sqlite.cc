// The embedded engine. Each statement commits by itself into the write-ahead log, which the system holds: the row
// survives the death of this process at once and a power failure from the next sync on.
#include "nubodb/db_sqlite.h"

#include <string.h>

#include "nlib/config.h"

SqliteEngine *SqliteEngineOf(NuboDbConnection *connection)
{
    return static_cast<SqliteEngine *>(connection->engine);
}

// The failures after which a new connection may find things better: the file was damaged, replaced or lost.
static bool IsBreaking(int code)
{
    switch (code & 0xFF) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PROTOCOL:
    case SQLITE_NOMEM:
        return true;
    default:
        return false;
    }
}

// The failures of a statement itself, which would fail again on a sound file.
static bool IsStatementFault(int code)
{
    switch (code & 0xFF) {
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_RANGE:
    case SQLITE_TOOBIG:
        return true;
    default:
        return false;
    }
}

int SqliteFail(NuboDbConnection *connection, const char *what)
{
    SqliteEngine *engine = SqliteEngineOf(connection);
    int code = sqlite3_extended_errcode(engine->db);
    if (IsBreaking(code))
        engine->broken = true;
    if ((code & 0xFF) == SQLITE_BUSY)
        SqlitePatienceSet(engine, true);  // or a batch would spend hours in front of the same lock
    connection->statement_fault = IsStatementFault(code);
    connection->error = StatementHead(what) + ": " + sqlite3_errmsg(engine->db);
    if (int system_error = sqlite3_system_errno(engine->db); system_error != 0 && IsBreaking(code))
        connection->error += std::string(" (") + strerror(system_error) + ")";
    return -1;
}

static bool SqliteUsable(NuboDbConnection *connection)
{
    return !SqliteEngineOf(connection)->broken;
}

static bool SqliteCurrent(NuboDbConnection *connection)
{
    int moved = 0;
    int code = sqlite3_file_control(SqliteEngineOf(connection)->db, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return code != SQLITE_OK || !moved;
}

// One flush of the log makes everything committed so far durable. A checkpoint would flush too, but not past the
// oldest reader.
static int SqliteSync(NuboDbConnection *connection)
{
    SqliteEngine *engine = SqliteEngineOf(connection);
    SqlitePatienceSet(engine, false);
    int64_t changes = sqlite3_total_changes64(engine->db);
    if (changes == engine->synced)
        return 0;
    sqlite3_file *log = nullptr;
    (void)sqlite3_file_control(engine->db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    if (log && log->pMethods && log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) != SQLITE_OK) {
        connection->error = "the log cannot be flushed";
        return -1;
    }
    engine->synced = changes;
    return 0;
}

static int SqliteVacuum(NuboDbConnection *connection)
{
    sqlite3 *db = SqliteEngineOf(connection)->db;
    if (sqlite3_exec(db, "pragma incremental_vacuum", nullptr, nullptr, nullptr) != SQLITE_OK)
        return SqliteFail(connection, "vacuum");
    // A reader may hold the log back; it gets smaller the next time then.
    int code = sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    if (code != SQLITE_OK && code != SQLITE_BUSY && code != SQLITE_LOCKED)
        return SqliteFail(connection, "checkpoint");
    return 0;
}

// The files are those of this box alone.
static int SqliteBoxes(NuboDbConnection *, std::vector<std::string> *boxes)
{
    boxes->push_back(PlatformSetting("box"));
    return 0;
}

static int SqliteEscape(char *dst, const char *src, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        if (src[i] == '\'')
            *dst++ = '\'';
        *dst++ = src[i];
    }
    *dst = '\0';
    return 0;
}

const DbDriver DB_SQLITE = {
    "sqlite",   SqliteOpen,   SqliteOpen,  SqliteClose,       SqliteRun,    SqliteUsable, SqliteCurrent,
    SqliteSync, SqliteVacuum, SqliteBoxes, "begin immediate", SqliteEscape, false,
};
