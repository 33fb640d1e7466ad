// The connections, and the calls of every statement on its way to the engine's driver.
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include "nlib/config.h"
#include "nubodb/db_driver.h"
#include "nubodb/db_result.h"
#include "nubodb/missed.h"
#include "nubodb/schema.h"

static NuboDbConnection connections[DB_COUNT];
static const char *const DB_NAMES[] = {"media", "photo"};

static bool in_batch = false;
static bool tried_again = false;  // what was missed lately

const DbDriver *DriverConfigured(std::string *reason)
{
    if (const char *error = PlatformSettingsError()) {
        *reason = error;
        return nullptr;
    }
    std::string engine = PlatformSetting("database");
    if (engine == DB_SQLITE.name)
        return &DB_SQLITE;
    if (engine.starts_with("postgresql://") || engine.starts_with("postgres://") ||
        engine.find('=') != engine.npos)
        return &DB_POSTGRESQL;
    *reason = "no such engine: " + engine;
    return nullptr;
}

std::string StatementHead(const char *sql)
{
    static constexpr size_t SHOWN = 80;
    return strlen(sql) > SHOWN ? std::string(sql, SHOWN) + "..." : sql;
}

// The same failure again and again, as a batch meets it, is one line.
static void FailureLog(NuboDbConnection *connection, const char *what)
{
    std::string line = std::string(what) + ": " + connection->error;
    if (line == connection->logged)
        return;
    syslog(LOG_ERR, "nubodb: %s database: %s", DB_NAMES[connection->name], line.c_str());
    connection->logged = line;
}

static void ConnectionClose(NuboDbConnection *connection)
{
    if (connection->engine)
        connection->driver->close(connection);
    connection->engine = nullptr;
}

// What an engine may have lost is done again.
static void UnsyncedNote(NuboDbConnection *connection)
{
    if (connection->unsynced.empty())
        return;
    syslog(LOG_NOTICE,
           "nubodb: %s database: %zu changes that were not on the server's disk yet will be made again",
           DB_NAMES[connection->name], connection->unsynced.size());
    for (const std::string &change : connection->unsynced)
        MissedNote(change);
    connection->unsynced.clear();
    connection->troubles++;
}

static void ConnectionGiveUp(NuboDbConnection *connection)
{
    ConnectionClose(connection);
    UnsyncedNote(connection);
}

// --- opening

static constexpr int64_t RETRY_PAUSE_MS =
    5000;  // between two attempts, once waiting has been given up, at least
static constexpr int64_t RETRY_PAUSE_TIMES =
    9;  // as long as the attempt took: a tenth of the time is enough for them
static constexpr int64_t WAIT_STEP_MS = 250;

// What calls may still spend waiting for a server; more than 0 in a batch only.
static int64_t wait_left_ms = 0;

static int64_t NowMs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

static int OpenOnce(NuboDbConnection *connection, bool set_up)
{
    connection->name = static_cast<DbName>(connection - connections);
    connection->unreachable = false;
    connection->statement_fault = false;
    connection->driver = DriverConfigured(&connection->error);
    if (!connection->driver)
        return -1;
    return set_up ? connection->driver->set_up(connection) : connection->driver->open(connection);
}

// The server is not there: a batch that waits for it is better than a batch that fails.
// `attempt` is when the last attempt began.
static int OpenWaiting(NuboDbConnection *connection, int64_t *attempt)
{
    int64_t begin = NowMs();
    while (wait_left_ms > 0) {
        usleep(WAIT_STEP_MS * 1000);
        *attempt = NowMs();
        int result = OpenOnce(connection, false);
        wait_left_ms -= WAIT_STEP_MS + (NowMs() - *attempt);
        if (result == 0) {
            syslog(LOG_NOTICE, "nubodb: %s database: back after %lld seconds", DB_NAMES[connection->name],
                   static_cast<long long>((NowMs() - begin) / 1000));
            return 0;
        }
        if (!connection->unreachable)
            return -1;
    }
    return -1;
}

// A file is tried again at every call. A server that could not be reached, or had to be refused, is left in peace for
// a while, or a batch would spend its time on it. Who does not reach it for one database does not for the other.
static void RetryPause(NuboDbConnection *failed, int64_t begin)
{
    if (!failed->driver || !failed->driver->is_server)
        return;
    int64_t now = NowMs();
    int64_t pause = RETRY_PAUSE_TIMES * (now - begin);
    for (NuboDbConnection &connection : connections) {
        if (&connection == failed || failed->unreachable)
            connection.retry_at = now + (pause > RETRY_PAUSE_MS ? pause : RETRY_PAUSE_MS);
    }
}

static void RetryAllow()
{
    for (NuboDbConnection &connection : connections)
        connection.retry_at = 0;
}

static int ConnectionOpen(NuboDbConnection *connection)
{
    if (connection->engine)
        return 0;
    connection->statement_fault = false;
    if (connection->retry_at > NowMs())
        return -1;
    int64_t begin = NowMs();
    int result = OpenOnce(connection, false);
    if (result < 0)
        FailureLog(connection, "cannot be opened");
    if (result < 0 && connection->unreachable && wait_left_ms > 0) {
        result = OpenWaiting(connection, &begin);
        if (result < 0)
            FailureLog(connection, "cannot be opened");
    }
    if (result < 0)
        RetryPause(connection, begin);
    else
        RetryAllow();
    return result;
}

NuboDbConnection *DbOpen(DbName name)
{
    NuboDbConnection *connection = &connections[name];
    return ConnectionOpen(connection) == 0 ? connection : nullptr;
}

static std::string SetUpReport(const NuboDbConnection &connection)
{
    int newest = SchemaNewestVersion(connection.driver->name, connection.name);
    std::string version = "schema version " + std::to_string(newest);
    if (connection.version_found == newest)
        return "is up to date, " + version;
    if (connection.version_found > 0)
        return "brought from schema version " + std::to_string(connection.version_found) + " to " + version;
    return "made, " + version;
}

int DbSetUp(DbName name, std::string *report)
{
    NuboDbConnection *connection = &connections[name];
    ConnectionClose(connection);
    int result = OpenOnce(connection, true);
    *report = result == 0 ? SetUpReport(*connection) : connection->error;
    return result;
}

std::string DbSchemaText(DbName name)
{
    const NuboDbConnection &connection = connections[name];
    if (!connection.driver)
        return "";
    return std::string(connection.driver->name) + ", schema version " +
           std::to_string(SchemaNewestVersion(connection.driver->name, name));
}

// --- statements

// What remains to be done after a driver's call.
static int64_t Outcome(NuboDbConnection *connection, int64_t result, const char *what)
{
    if (result >= 0) {
        connection->logged.clear();
        return result;
    }
    FailureLog(connection, what);
    if (connection->engine && !connection->driver->usable(connection))
        ConnectionGiveUp(connection);
    return -1;
}

// One attempt; an attempt on a connection that turns out to be broken closes it.
static int64_t Attempt(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult **result)
{
    NuboDbResult *rows = result ? new NuboDbResult : nullptr;
    int64_t changed = connection->driver->run(connection, statement, rows);
    if (changed < 0)
        delete rows;
    else if (result)
        *result = rows;
    if (changed < 0 && !connection->driver->usable(connection)) {
        if (connection->driver->is_server)
            FailureLog(connection, "connection lost");
        ConnectionGiveUp(connection);
    }
    return changed;
}

// A connection that has broken since its last use costs nobody a row: the statement is tried once more on a new
// one. Inside a transaction that cannot be, what came before is lost with the connection.
static int64_t StatementRun(NuboDbConnection *connection, const DbStatementText &statement,
                            NuboDbResult **result)
{
    if (result)
        *result = nullptr;
    if (connection) {
        connection->statement_fault = false;
        connection->repeated = false;
    }
    if (!connection || !statement.sql || (connection->in_transaction && !connection->engine))
        return -1;
    if (ConnectionOpen(connection) < 0)
        return -1;
    int64_t changed = Attempt(connection, statement, result);
    if (changed < 0 && !connection->engine && !connection->in_transaction) {
        if (ConnectionOpen(connection) < 0)
            return -1;
        changed = Attempt(connection, statement, result);
        connection->repeated = true;
    }
    return Outcome(connection, changed, "a statement failed");
}

int64_t DbRun(NuboDbConnection *connection, const char *sql, const DbValue *values, size_t count)
{
    return StatementRun(connection, {sql, false, values, count}, nullptr);
}

int64_t DbRun(NuboDbConnection *connection, const char *sql, std::initializer_list<DbValue> values)
{
    return DbRun(connection, sql, values.begin(), values.size());
}

int DbSelect(NuboDbConnection *connection, const char *sql, std::initializer_list<DbValue> values,
             NuboDbResult **result)
{
    return StatementRun(connection, {sql, false, values.begin(), values.size()}, result) < 0 ? -1 : 0;
}

int64_t DbExecute(NuboDbConnection *connection, const char *sql, NuboDbResult **result)
{
    return StatementRun(connection, {sql, true, nullptr, 0}, result);
}

int DbBegin(NuboDbConnection *connection)
{
    if (!connection || ConnectionOpen(connection) < 0 || DbRun(connection, connection->driver->begin) < 0)
        return -1;
    connection->in_transaction = true;
    return 0;
}

int DbCommit(NuboDbConnection *connection)
{
    if (DbRun(connection, "commit") < 0)
        return -1;
    connection->in_transaction = false;
    return 0;
}

// Where the engine cannot undo what was begun, or has done so by itself, closing is the end of it in every state that
// a failure may have left. Either way the connection tells of that failure and not of this.
void DbRollback(NuboDbConnection *connection)
{
    static constexpr char ROLLBACK[] = "rollback";
    if (!connection)
        return;
    std::string error = connection->error;
    bool statement_fault = connection->statement_fault;
    bool is_open = connection->engine && connection->in_transaction;
    if (is_open && connection->driver->run(connection, {ROLLBACK, false, nullptr, 0}, nullptr) < 0)
        ConnectionGiveUp(connection);
    connection->error = error;
    connection->statement_fault = statement_fault;
    connection->in_transaction = false;
}

NuboDbHandle *DbQuery(DbName name, const char *table, const char *columns, const char *condition,
                      const char *order, int limit)
{
    NuboDbConnection *connection = DbOpen(name);
    if (!connection)
        return nullptr;
    std::string sql = std::string("select ") + (columns && *columns ? columns : "*") + " from " + table;
    if (condition && *condition)
        sql += std::string(" where ") + condition;
    if (order && *order)
        sql += std::string(" order by ") + order;
    if (limit > 0)
        sql += " limit " + std::to_string(limit);

    NuboDbResult *result = nullptr;
    if (DbExecute(connection, sql.c_str(), &result) < 0)
        return nullptr;
    return new NuboDbHandle{connection, result, -1, result->rows};
}

void DbHandleClose(NuboDbHandle *handle)
{
    if (handle)
        NUBODBFreeResult(handle->result);
    delete handle;
}

// What a lost connection wrote was noted when it was lost.
static int ConnectionSync(NuboDbConnection *connection)
{
    if (!connection->engine)
        return 0;
    if (Outcome(connection, connection->driver->sync(connection), "sync failed") < 0)
        return -1;
    connection->unsynced.clear();
    return 0;
}

int DbSync()
{
    int result = 0;
    for (NuboDbConnection &connection : connections) {
        if (ConnectionSync(&connection) < 0)
            result = -1;
    }
    return result;
}

void DbRefresh()
{
    RetryAllow();
    for (NuboDbConnection &connection : connections) {
        if (connection.engine && !connection.driver->current(&connection))
            ConnectionGiveUp(&connection);
    }
}

void DbClose()
{
    for (NuboDbConnection &connection : connections) {
        ConnectionClose(&connection);
        connection.in_transaction = false;
        connection.logged.clear();
        connection.unsynced.clear();
        connection.retry_at = 0;
    }
    in_batch = false;
    tried_again = false;
    wait_left_ms = 0;
}

// --- examination

static DbFault OpenFault(const NuboDbConnection &connection)
{
    if (!connection.driver)
        return DB_MISCONFIGURED;
    if (connection.unreachable)
        return DB_UNREACHABLE;
    int newest = SchemaNewestVersion(connection.driver->name, connection.name);
    return connection.version_found > newest ? DB_TOO_NEW : DB_UNOPENABLE;
}

// A statement that could change rows and finds none.
static bool IsWritable(NuboDbConnection *connection)
{
    static const char *const NO_CHANGES[] = {"delete from music where 1 = 0",
                                             "delete from photo_share where 1 = 0"};
    bool is_writable = DbBegin(connection) == 0;
    is_writable = is_writable && DbRun(connection, NO_CHANGES[connection->name]) == 0;
    DbRollback(connection);
    return is_writable;
}

DbFault DbExamine(DbName name, std::string *reason)
{
    NuboDbConnection *connection = &connections[name];
    ConnectionClose(connection);
    connection->version_found = 0;
    DbFault fault = DB_SOUND;
    if (OpenOnce(connection, false) < 0)
        fault = OpenFault(*connection);
    else if (!IsWritable(connection))
        fault = DB_UNWRITABLE;
    *reason = fault == DB_SOUND ? "" : connection->error;
    return fault;
}

// --- boxes

static std::string other_box;

const char *DbOtherBox()
{
    return other_box.empty() ? nullptr : other_box.c_str();
}

void DbBoxSelect(const std::string &box)
{
    DbClose();
    other_box = box == PlatformSetting("box") ? "" : box;
}

int DbBoxes(std::vector<std::string> *boxes)
{
    NuboDbConnection *connection = &connections[DB_MEDIA];
    ConnectionClose(connection);
    connection->driver = DriverConfigured(&connection->error);
    if (connection->driver && connection->driver->boxes(connection, boxes) == 0)
        return 0;
    FailureLog(connection, "the boxes cannot be listed");
    return -1;
}

// --- batches

static constexpr size_t UNSYNCED_MAX = 10000;

static void ChangeMissed(NuboDbConnection *connection, const std::string &change)
{
    if (connection->statement_fault)
        return;
    MissedNote(change);
    connection->troubles++;
}

// Run twice, a folder's change counts rows that the first time found already changed: only requests that name a whole
// share put that right.
static bool IsDoubtful(const NuboDbConnection *connection, const std::string &change)
{
    return connection->repeated && change.starts_with("R:");
}

int64_t DbChanged(DbName name, const std::string &change, int64_t result)
{
    NuboDbConnection *connection = &connections[name];
    if (result < 0) {
        ChangeMissed(connection, change);
    } else if (connection->driver && connection->driver->is_server) {
        connection->unsynced.push_back(change);
        if (IsDoubtful(connection, change) || MissedEmptying())
            MissedNote(change);
        if (connection->unsynced.size() >= UNSYNCED_MAX)
            (void)DbSync();
    } else if (MissedEmptying()) {
        MissedNote(change);
    }
    return result;
}

void DbUnread(DbName name, const std::string &change)
{
    if (in_batch)
        ChangeMissed(&connections[name], change);
}

int64_t DbTroubles(DbName name)
{
    return connections[name].troubles;
}

// The daemon is its own producer then: another batch follows. In a program that does not listen nothing happens.
static void BatchAskFor()
{
    struct sigaction action = {};
    bool listens = sigaction(SIGUSR1, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
                   action.sa_handler != SIG_IGN;
    if (listens)
        (void)kill(getpid(), SIGUSR1);
}

// The requests come before the queue is taken over, and so are part of this batch.
void DbBatchBegin()
{
    int seconds = atoi(PlatformSetting("database_wait"));
    wait_left_ms = seconds > 0 ? static_cast<int64_t>(seconds) * 1000 : 0;
    in_batch = true;
    DbRefresh();
    MissedBatchBegin();
    if (MissedCount() > 0 && DbOpen(DB_MEDIA) && DbOpen(DB_PHOTO))
        (void)MissedQueue();
}

// What this batch missed is tried again at once when the databases answer, but only once: a change that fails again
// waits for the next batch that somebody else wants.
static void MissedTryAgain()
{
    if (MissedCount() == 0) {
        tried_again = false;
    } else if (!tried_again && DbOpen(DB_MEDIA) && DbOpen(DB_PHOTO)) {
        tried_again = true;
        if (MissedQueue() > 0)
            BatchAskFor();
    }
}

int DbBatchEnd()
{
    int result = DbSync();
    wait_left_ms = 0;
    if (!in_batch)
        return result;
    in_batch = false;
    MissedFlush();
    MissedTryAgain();
    return result;
}

int DbVacuum(DbName name)
{
    NuboDbConnection *connection = DbOpen(name);
    if (!connection)
        return -1;
    return Outcome(connection, connection->driver->vacuum(connection), "vacuum failed") < 0 ? -1 : 0;
}

int NUBODBExecute(NuboDbConnection *connection, const char *sql, NuboDbResult **result)
{
    return DbExecute(connection, sql, result) < 0 ? -1 : 0;
}

const char *NUBODBErrorGet(NuboDbConnection *connection)
{
    return connection ? connection->error.c_str() : "no connection";
}

int NUBODBEscapeString(char *dst, const char *src, int length)
{
    std::string reason;
    const DbDriver *driver = DriverConfigured(&reason);
    if (!dst || !src || length < 0 || !driver)
        return -1;
    return driver->escape(dst, src, strnlen(src, static_cast<size_t>(length)));
}

int NUBODBEscapeBackslash(char *dst, int size, const char *src)
{
    if (!dst || !src || size < 1)
        return -1;
    size_t left = static_cast<size_t>(size) - 1;
    for (; *src; src++) {
        size_t needed = *src == '\\' ? 2 : 1;
        if (needed > left)
            return -1;
        if (needed == 2)
            *dst++ = '\\';
        *dst++ = *src;
        left -= needed;
    }
    *dst = '\0';
    return 0;
}
