// What a database engine has to bring. Everything else in this library is the same for all of them.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "nubodb/database.h"

struct DbDriver;

struct NuboDbConnection {
    DbName name;
    const DbDriver *driver;
    void *engine;         // the driver's own record; null while there is no connection
    std::string error;    // the last failure
    std::string logged;   // the failure that was logged last; emptied by the next success
    bool in_transaction;  // from DbBegin to DbCommit or DbRollback, even when the connection broke meanwhile

    // What the last failure was; set by the driver, false for any other.
    bool statement_fault;  // the statement would fail on a sound database too
    bool unreachable;      // opening failed in a way that time may mend: the server is not there

    int version_found;                  // of the schema, at the last opening; 0: there was none
    int64_t retry_at;                   // no attempt to open before that, in ms of the monotonic clock
    std::vector<std::string> unsynced;  // what changed since the last sync, where an engine's death loses it
    bool repeated;                      // the last statement was run twice, the first time without an answer
    int64_t troubles;  // changes and queries that failed, and changes that may be lost; only grows
};

struct DbStatementText {
    const char *sql;
    bool composed;  // written by a caller: prepare it for this once, refuse a second statement behind it
    const DbValue *values;
    size_t value_count;
};

// The beginning of a statement, for messages: the whole would fill a page of the log.
std::string StatementHead(const char *sql);

struct DbDriver {
    const char *name;

    // Connects and brings the schema to its newest version. 0; -1 with connection->error set.
    int (*open)(NuboDbConnection *connection);
    // The same, and makes what the database lives in.
    int (*set_up)(NuboDbConnection *connection);
    void (*close)(NuboDbConnection *connection);

    // Runs a statement to its end; rows go to `result` unless that is null. The number of rows changed, or
    // -1 with connection->error set.
    int64_t (*run)(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result);

    // After a failure: is the connection still good?
    bool (*usable)(NuboDbConnection *connection);
    // Between batches: is the connection still one to the configured database?
    bool (*current)(NuboDbConnection *connection);

    int (*sync)(NuboDbConnection *connection);  // 0; -1 with connection->error set
    int (*vacuum)(NuboDbConnection *connection);

    // The boxes whose databases can be reached this way, ordered by name. The connection is closed before and after; no
    // database is made. 0; -1 with connection->error set.
    int (*boxes)(NuboDbConnection *connection, std::vector<std::string> *boxes);

    const char *begin;  // starts a transaction that is going to write

    // For the inside of a '...' literal; at most 2 x length + 1 bytes. 0 or -1.
    int (*escape)(char *dst, const char *src, size_t length);

    // A process of its own: its death takes changes that were not synced, and an attempt to reach it takes time.
    bool is_server;
};

// The box that DbBoxSelect chose; null for this one.
const char *DbOtherBox();

extern const DbDriver DB_SQLITE;
extern const DbDriver DB_POSTGRESQL;

// The driver that the settings ask for; null when there is none, with the reason.
const DbDriver *DriverConfigured(std::string *reason);
