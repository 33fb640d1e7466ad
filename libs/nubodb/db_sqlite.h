// The engine's connection to one database file.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

#include "nubodb/db_driver.h"

struct SqliteStatement {
    const char *sql;  // the caller's text, at its address
    sqlite3_stmt *prepared;
};

struct SqliteEngine {
    sqlite3 *db;
    std::vector<SqliteStatement> statements;
    int64_t synced;  // sqlite3_total_changes64 at the last sync
    bool impatient;  // somebody held a lock for too long; until the next sync locks are hardly waited for
    bool broken;     // a failure that another try on this connection cannot mend
};

SqliteEngine *SqliteEngineOf(NuboDbConnection *connection);

// Keeps the engine's words for what just failed. -1.
int SqliteFail(NuboDbConnection *connection, const char *what);

// How long this connection waits for somebody else's lock.
void SqlitePatienceSet(SqliteEngine *engine, bool impatient);

// Opens the file with every setting, its schema up to date.
int SqliteOpen(NuboDbConnection *connection);
void SqliteClose(NuboDbConnection *connection);

// Brings the schema to its newest version, one step at a time; refuses a newer one. 0; -1 with the error set.
int SqliteSchemaUpdate(NuboDbConnection *connection);

int64_t SqliteRun(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result);
