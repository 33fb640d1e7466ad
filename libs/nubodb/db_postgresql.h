// A connection to PostgreSQL.
#pragma once

#include <libpq-fe.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "nubodb/db_driver.h"

struct PostgresqlStatement {
    std::string name;        // on the server
    std::vector<Oid> types;  // of its parameters
};

struct PostgresqlEngine {
    PGconn *link;
    std::unordered_map<const char *, PostgresqlStatement> kept;     // by the address of the caller's text
    std::unordered_map<std::string, PostgresqlStatement> composed;  // by the translated text
    size_t statement_number;
    bool broken;       // the connection must not be used any more
    bool unsynced;     // something was written since the last sync
    bool impatient;    // somebody held a lock for too long; until the next sync locks are hardly waited for
    bool lock_missed;  // the last failure was such a lock
    bool conflict;     // the last failure was one between two transactions: the statement is to be tried again
};

PostgresqlEngine *PostgresqlEngineOf(NuboDbConnection *connection);

// Keeps the engine's words for what just failed, and what kind of failure it was; `result` may be null. -1.
int PostgresqlFail(NuboDbConnection *connection, const char *what, const PGresult *result);

int PostgresqlOpen(NuboDbConnection *connection);
int PostgresqlSetUp(NuboDbConnection *connection);
void PostgresqlClose(NuboDbConnection *connection);

// Brings the schema to its newest version; refuses a newer one. 0; -1 with the error set.
int PostgresqlSchemaUpdate(NuboDbConnection *connection);

// The boxes that keep a media database on the server, by name. 0; -1 with the error set.
int PostgresqlBoxes(NuboDbConnection *connection, std::vector<std::string> *boxes);

// The schema of this box that holds a database: "nubo_media".
std::string PostgresqlSchemaName(DbName name);

// Runs statements as they stand, several with ";" between them. The last one's result; null with the error set.
// To be freed with PQclear.
PGresult *PostgresqlPlainRun(NuboDbConnection *connection, const char *sql);

// The next result of what was sent; null at its end, or when the answer did not come in time (then the
// connection is broken).
PGresult *PostgresqlResultNext(PostgresqlEngine *engine);

int64_t PostgresqlRun(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result);
