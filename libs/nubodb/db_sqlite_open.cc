// Opening a database file: its folder, mode, settings and schema.
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "nlib/config.h"
#include "nubodb/db_sqlite.h"
#include "nubodb/schema.h"
#include "nubodb/sql_like.h"

static const char *const FILE_NAMES[] = {"/media.db", "/photo.db"};

static constexpr int BUSY_WAIT_MS = 3000;  // for a writer elsewhere; readers are never in the way
static constexpr int BUSY_STEP_MS = 10;
static constexpr int IMPATIENT_WAIT_MS = 5;

// Per connection. 512 KiB of pages are enough for the paths of the trees, and the daemon is forked for every
// probed file. The log may grow to 32 MiB before it is worked into the file, because that costs two flushes.
static constexpr char SETTINGS[] = "pragma cache_size = -512;"
                                   "pragma mmap_size = 0;"
                                   "pragma synchronous = normal;"
                                   "pragma wal_autocheckpoint = 8192;"
                                   "pragma journal_size_limit = 33554432;"
                                   "pragma temp_store = memory;"
                                   "pragma trusted_schema = off;";

// Makes a folder and those above it; the modes do not depend on the umask, which is 0 in the daemon.
static int FolderMake(std::string path)
{
    for (size_t at = 1; at != std::string::npos;) {
        at = path.find('/', at);
        std::string part = path.substr(0, at);
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST && errno != EROFS && errno != EACCES)
            return -1;
        at = at == std::string::npos ? at : at + 1;
    }
    struct stat status;
    return stat(path.c_str(), &status);
}

static std::string_view ValueText(sqlite3_value *value)
{
    auto text = reinterpret_cast<const char *>(sqlite3_value_text(value));
    return {text ? text : "", static_cast<size_t>(sqlite3_value_bytes(value))};
}

// like(pattern, text[, escape])
static void LikeFunction(sqlite3_context *context, int count, sqlite3_value **values)
{
    for (int i = 0; i < count; i++) {
        if (sqlite3_value_type(values[i]) == SQLITE_NULL)
            return;  // the answer is null
    }
    char escape = '\\';
    if (count == 3) {
        std::string_view text = ValueText(values[2]);
        escape = text.empty() ? '\0' : text[0];
    }
    std::string_view pattern = ValueText(values[0]);
    sqlite3_result_int(context, LikeMatches(pattern, ValueText(values[1]), escape));
}

static int LikeRegister(sqlite3 *db)
{
    for (int count : {2, 3}) {
        int code =
            sqlite3_create_function(db, "like", count, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                    nullptr, LikeFunction, nullptr, nullptr);
        if (code != SQLITE_OK)
            return code;
    }
    return SQLITE_OK;
}

static int IntegerQuery(sqlite3 *db, const char *sql)
{
    int value = -1;
    auto take = [](void *out, int, char **fields, char **) {
        *static_cast<int *>(out) = fields[0] ? atoi(fields[0]) : 0;
        return 0;
    };
    return sqlite3_exec(db, sql, take, &value, nullptr) == SQLITE_OK ? value : -1;
}

// Where two processes make the same file at the same time, this is the one step at which the engine does not wait
// for the other by itself.
static int LogModeSet(sqlite3 *db)
{
    int code = SQLITE_BUSY;
    for (int waited = 0; code == SQLITE_BUSY && waited < BUSY_WAIT_MS; waited += BUSY_STEP_MS) {
        code = sqlite3_exec(db, "pragma journal_mode = wal", nullptr, nullptr, nullptr);
        if ((code & 0xFF) == SQLITE_BUSY) {
            code = SQLITE_BUSY;
            sqlite3_sleep(BUSY_STEP_MS);
        }
    }
    return code;
}

// The file's lasting properties. They are set while it is empty; on a file system that cannot share memory the
// engine stays with its rollback journal, which is slower and equally safe.
static int FileSetUp(sqlite3 *db)
{
    int version = IntegerQuery(db, "pragma user_version");
    if (version < 0)
        return -1;
    if (version == 0 && sqlite3_exec(db, "pragma auto_vacuum = incremental", nullptr, nullptr, nullptr))
        return -1;
    if (LogModeSet(db) != SQLITE_OK && !sqlite3_db_readonly(db, "main"))
        return -1;
    int keep = 1;  // the log's files stay when the last writer leaves: who may only read needs them
    (void)sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
    return 0;
}

// One version further, all of it or nothing. Another process may have been faster: the version is read again
// under the lock.
static int StepApply(sqlite3 *db, const SchemaStep &step)
{
    if (sqlite3_exec(db, "begin immediate", nullptr, nullptr, nullptr) != SQLITE_OK)
        return -1;
    std::string set_version = "pragma user_version = " + std::to_string(step.version);
    bool due = IntegerQuery(db, "pragma user_version") == step.version - 1;
    if (due && (sqlite3_exec(db, step.sql, nullptr, nullptr, nullptr) != SQLITE_OK ||
                sqlite3_exec(db, set_version.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK))
        return -1;
    return sqlite3_exec(db, "commit", nullptr, nullptr, nullptr) == SQLITE_OK ? 0 : -1;
}

int SqliteSchemaUpdate(NuboDbConnection *connection)
{
    sqlite3 *db = SqliteEngineOf(connection)->db;
    int version = IntegerQuery(db, "pragma user_version");
    if (version < 0)
        return SqliteFail(connection, "schema version");
    connection->version_found = version;
    if (SchemaVersionCheck(DB_SQLITE.name, connection->name, version, &connection->error) < 0)
        return -1;
    for (const SchemaStep &step : SchemaSteps()) {
        bool is_ours = !strcmp(step.engine, DB_SQLITE.name) && step.database == connection->name;
        if (is_ours && step.version > version && StepApply(db, step) < 0)
            return SqliteFail(connection, "schema");
    }
    return 0;
}

int SqliteOpen(NuboDbConnection *connection)
{
    std::string folder = PlatformSetting("state_dir");
    std::string path = folder + FILE_NAMES[connection->name];
    if (FolderMake(folder) < 0) {
        connection->error = folder + ": " + strerror(errno);
        return -1;
    }
    auto *engine = new SqliteEngine{nullptr, {}, 0, false, false};
    connection->engine = engine;
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    int result = 0;
    if (sqlite3_open_v2(path.c_str(), &engine->db, flags, nullptr) != SQLITE_OK ||
        sqlite3_busy_timeout(engine->db, BUSY_WAIT_MS) != SQLITE_OK || LikeRegister(engine->db) != SQLITE_OK ||
        sqlite3_exec(engine->db, SETTINGS, nullptr, nullptr, nullptr) != SQLITE_OK || FileSetUp(engine->db) < 0)
        result = SqliteFail(connection, path.c_str());
    else
        result = SqliteSchemaUpdate(connection);
    if (result < 0) {
        SqliteClose(connection);
        return -1;
    }
    engine->synced = -1;  // what was found in the file may not be durable yet
    return 0;
}

void SqlitePatienceSet(SqliteEngine *engine, bool impatient)
{
    if (engine->impatient != impatient)
        (void)sqlite3_busy_timeout(engine->db, impatient ? IMPATIENT_WAIT_MS : BUSY_WAIT_MS);
    engine->impatient = impatient;
}

void SqliteClose(NuboDbConnection *connection)
{
    SqliteEngine *engine = SqliteEngineOf(connection);
    for (const SqliteStatement &statement : engine->statements)
        sqlite3_finalize(statement.prepared);
    sqlite3_close_v2(engine->db);
    delete engine;
    connection->engine = nullptr;
}
