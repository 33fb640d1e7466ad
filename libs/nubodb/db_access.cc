// The connections, and the calls of every statement on its way to the engine's driver.
#include <string.h>
#include <syslog.h>

#include "nlib/config.h"
#include "nubodb/db_driver.h"
#include "nubodb/db_result.h"

static NuboDbConnection connections[] = {
    {DB_MEDIA, nullptr, nullptr, {}, {}, false},
    {DB_PHOTO, nullptr, nullptr, {}, {}, false},
};
static const char *const DB_NAMES[] = {"media", "photo"};

static const DbDriver *DriverConfigured()
{
    const char *engine = PlatformSetting("database");
    return engine && !strcmp(engine, "sqlite") ? &DB_SQLITE : nullptr;
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

static int ConnectionOpen(NuboDbConnection *connection)
{
    if (connection->engine)
        return 0;
    connection->driver = DriverConfigured();
    if (connection->driver && connection->driver->open(connection) == 0)
        return 0;
    if (!connection->driver)
        connection->error = std::string("no such engine: ") + PlatformSetting("database");
    FailureLog(connection, "cannot be opened");
    return -1;
}

NuboDbConnection *DbOpen(DbName name)
{
    NuboDbConnection *connection = &connections[name];
    return ConnectionOpen(connection) == 0 ? connection : nullptr;
}

// What remains to be done after a driver's call.
static int64_t Outcome(NuboDbConnection *connection, int64_t result, const char *what)
{
    if (result >= 0) {
        connection->logged.clear();
        return result;
    }
    FailureLog(connection, what);
    if (connection->engine && !connection->driver->usable(connection))
        ConnectionClose(connection);
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
    if (changed < 0 && !connection->driver->usable(connection))
        ConnectionClose(connection);
    return changed;
}

// A connection that has broken since its last use costs nobody a row: the statement is tried once more on a new
// one. Inside a transaction that cannot be, what came before is lost with the connection.
static int64_t StatementRun(NuboDbConnection *connection, const DbStatementText &statement,
                            NuboDbResult **result)
{
    if (result)
        *result = nullptr;
    if (!connection || !statement.sql || (connection->in_transaction && !connection->engine))
        return -1;
    if (ConnectionOpen(connection) < 0)
        return -1;
    int64_t changed = Attempt(connection, statement, result);
    if (changed < 0 && !connection->engine && !connection->in_transaction) {
        if (ConnectionOpen(connection) < 0)
            return -1;
        changed = Attempt(connection, statement, result);
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

// Closing undoes what was begun, on every engine and in every state that a failure may have left.
void DbRollback(NuboDbConnection *connection)
{
    if (!connection)
        return;
    ConnectionClose(connection);
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

int DbSync()
{
    int result = 0;
    for (NuboDbConnection &connection : connections) {
        if (connection.engine && Outcome(&connection, connection.driver->sync(&connection), "sync failed") < 0)
            result = -1;
    }
    return result;
}

void DbRefresh()
{
    for (NuboDbConnection &connection : connections) {
        if (connection.engine && !connection.driver->current(&connection))
            ConnectionClose(&connection);
    }
}

void DbClose()
{
    for (NuboDbConnection &connection : connections) {
        ConnectionClose(&connection);
        connection.in_transaction = false;
        connection.logged.clear();
    }
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
    const DbDriver *driver = DriverConfigured();
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
