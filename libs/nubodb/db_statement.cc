// Every statement on its way to the engine's driver.
#include "nubodb/db_connection.h"
#include "nubodb/db_result.h"

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
            ConnectionFailureLog(connection, "connection lost");
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
    return ConnectionOutcome(connection, changed, "a statement failed");
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
