// Running statements on the embedded engine.
#include <string.h>

#include "nubodb/db_result.h"
#include "nubodb/db_sqlite.h"
#include "nubodb/sql_like.h"

static sqlite3_stmt *KeptStatement(SqliteEngine *engine, const char *sql)
{
    for (const SqliteStatement &statement : engine->statements) {
        if (statement.sql == sql)
            return statement.prepared;
    }
    sqlite3_stmt *prepared = nullptr;
    if (sqlite3_prepare_v3(engine->db, sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr) != SQLITE_OK)
        return nullptr;
    engine->statements.push_back({sql, prepared});
    return prepared;
}

// Nothing but blanks and semicolons may follow the one statement.
static bool IsEmptyTail(const char *tail)
{
    return tail[strspn(tail, " \t\r\n;")] == '\0';
}

static int ValuesBind(sqlite3_stmt *prepared, const DbStatementText &statement)
{
    for (size_t i = 0; i < statement.value_count; i++) {
        const DbValue &value = statement.values[i];
        int number = static_cast<int>(i) + 1;
        int code = SQLITE_OK;
        if (value.type == DbValue::TEXT)
            code = sqlite3_bind_text64(prepared, number, value.text, value.length, SQLITE_STATIC, SQLITE_UTF8);
        else if (value.type == DbValue::INTEGER)
            code = sqlite3_bind_int64(prepared, number, value.integer);
        else
            code = sqlite3_bind_double(prepared, number, value.real);
        if (code != SQLITE_OK)
            return code;
    }
    return SQLITE_OK;
}

static void ColumnsTake(sqlite3_stmt *prepared, NuboDbResult *result)
{
    for (int i = 0; i < sqlite3_column_count(prepared); i++) {
        const char *name = sqlite3_column_name(prepared, i);
        result->columns.emplace_back(name ? name : "");
    }
}

static void RowTake(sqlite3_stmt *prepared, NuboDbResult *result)
{
    for (int i = 0; i < sqlite3_column_count(prepared); i++) {
        auto text = reinterpret_cast<const char *>(sqlite3_column_text(prepared, i));
        if (text)
            DbResultAdd(result, text, static_cast<size_t>(sqlite3_column_bytes(prepared, i)));
        else
            DbResultAddNull(result);
    }
    result->rows++;
}

static int RowsStep(sqlite3_stmt *prepared, NuboDbResult *result)
{
    if (result)
        ColumnsTake(prepared, result);
    int code = SQLITE_ROW;
    while ((code = sqlite3_step(prepared)) == SQLITE_ROW) {
        if (result)
            RowTake(prepared, result);
    }
    return code;
}

static int64_t PreparedRun(NuboDbConnection *connection, sqlite3_stmt *prepared,
                           const DbStatementText &statement, NuboDbResult *result)
{
    sqlite3 *db = SqliteEngineOf(connection)->db;
    int64_t before = sqlite3_total_changes64(db);
    if (ValuesBind(prepared, statement) != SQLITE_OK || RowsStep(prepared, result) != SQLITE_DONE) {
        SqliteFail(connection, statement.sql);
        return -1;
    }
    // The last change count outlives statements that change nothing, hence the total.
    return sqlite3_total_changes64(db) == before ? 0 : sqlite3_changes64(db);
}

static int64_t ComposedRun(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result)
{
    sqlite3 *db = SqliteEngineOf(connection)->db;
    std::string sql = LikeRangesAdd(statement.sql);
    sqlite3_stmt *prepared = nullptr;
    const char *tail = "";
    if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()) + 1, &prepared, &tail) != SQLITE_OK)
        return SqliteFail(connection, statement.sql);
    int64_t changed = -1;
    if (!prepared || !IsEmptyTail(tail))
        connection->error = std::string("not one statement: ") + statement.sql;
    else
        changed = PreparedRun(connection, prepared, statement, result);
    sqlite3_finalize(prepared);
    return changed;
}

int64_t SqliteRun(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result)
{
    if (statement.composed)
        return ComposedRun(connection, statement, result);
    sqlite3_stmt *prepared = KeptStatement(SqliteEngineOf(connection), statement.sql);
    if (!prepared)
        return SqliteFail(connection, statement.sql);
    int64_t changed = PreparedRun(connection, prepared, statement, result);
    sqlite3_reset(prepared);
    sqlite3_clear_bindings(prepared);
    return changed;
}
