// The two databases as the sibling libraries reach them: one connection each per process, opened at first use
// and again after a failure that broke it. The SQL is what every engine understands: parameters are $1, $2 … in
// the order of their first use, upserts are "on conflict". A failure is logged here, once.
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "nubodb/exported.h"

#pragma GCC visibility push(default)

enum DbName {
    DB_MEDIA = 0,
    DB_PHOTO = 1,
    DB_COUNT = 2,
};

// A bound value. Texts are any bytes and are not copied: they must live until the call returns.
struct DbValue {
    enum Type { TEXT, INTEGER, REAL } type;
    const char *text;
    size_t length;
    int64_t integer;
    double real;
};
DbValue DbText(const char *text);
DbValue DbText(const char *text, size_t length);
DbValue DbInteger(int64_t integer);
DbValue DbReal(double real);

// The connection to a database; null when it cannot be opened.
NuboDbConnection *DbOpen(DbName name);

// Runs a statement whose text stays at its address for good: it is prepared once. The number of rows that it
// changed, or -1. Every statement outside DbBegin … DbCommit stands by itself: when this returns, its rows
// survive the death of the process.
int64_t DbRun(NuboDbConnection *connection, const char *sql, const DbValue *values, size_t count);
int64_t DbRun(NuboDbConnection *connection, const char *sql, std::initializer_list<DbValue> values = {});

// The same for a query; the caller frees the result. 0 or -1.
int DbSelect(NuboDbConnection *connection, const char *sql, std::initializer_list<DbValue> values,
             NuboDbResult **result);

// Runs a statement that somebody composed: exactly one, prepared for this once, its `like` as described in
// NUBODBEscapeBackslash. The number of rows changed, or -1; `result` may be null.
int64_t DbExecute(NuboDbConnection *connection, const char *sql, NuboDbResult **result);

// A change of several statements. After a failed statement only DbRollback remains. 0 or -1.
int DbBegin(NuboDbConnection *connection);
int DbCommit(NuboDbConnection *connection);
void DbRollback(NuboDbConnection *connection);

// A query over one table for the open calls; null on failure, closed with DbHandleClose. `condition` and
// `order` may be null or empty; limit 0 is all rows.
NuboDbHandle *DbQuery(DbName name, const char *table, const char *columns, const char *condition,
                      const char *order, int limit);
void DbHandleClose(NuboDbHandle *handle);

// The rows of a result.
int DbRowCount(const NuboDbResult *result);

// Puts everything stored so far, in both databases, on stable storage. 0 or -1.
int DbSync();

// Lets go of a database whose file was replaced or whose server left meanwhile, so that the next call opens it anew.
void DbRefresh();

// A batch: what comes between the two may wait for a server that went away, as long as `database_wait` says. At its
// begin, changes that a dead database missed earlier are queued again (see missed.h). At its end everything
// is put on stable storage, -1 when that failed; and what it missed itself is queued again, once.
void DbBatchBegin();
int DbBatchEnd();

// Passes on the result of a change, which `change` names as missed.h says. A change that failed, through no fault
// of its own, or that an engine lost when it died before the end of the batch, is noted to be made again.
int64_t DbChanged(DbName name, const std::string &change, int64_t result);

// A query of a batch failed, and nobody knows what would have followed from its rows; `change` makes it good.
void DbUnread(DbName name, const std::string &change);

// Grows with each change or query that fails and each change that a server may have lost. Whoever marks rows and then
// removes those without a mark looks at it before he does.
int64_t DbTroubles(DbName name);

// Makes the database and whatever it lives in, and brings its schema up to date. 0 with what was done; -1 with the
// reason.
int DbSetUp(DbName name, std::string *report);

// The boxes that keep their databases where this one does, ordered by name; it is among them once it has a database.
// 0 or -1, with the connections closed in any case.
int DbBoxes(std::vector<std::string> *boxes);

// From now on everything is read from the databases of another box; "" goes back to this one. Nothing of that box can be
// changed, and what has another version of the schema is not opened.
void DbBoxSelect(const std::string &box);

// What keeps rows from being stored.
enum DbFault {
    DB_SOUND,
    DB_MISCONFIGURED,  // the settings cannot be read, or name no engine
    DB_UNREACHABLE,    // the server is not there
    DB_TOO_NEW,        // a newer version of this system made its schema
    DB_UNOPENABLE,     // anything else that keeps it from being opened
    DB_UNWRITABLE,
};

// Looks for a fault and changes no row; what is missing or older is made and brought up to date, as by every opening.
// The reason is for people.
DbFault DbExamine(DbName name, std::string *reason);

// Engine and version of an open database's schema, for people.
std::string DbSchemaText(DbName name);

// Closes both connections; the next call opens them again.
void DbClose();

// Gives free pages back and keeps the files small. 0 or -1.
int DbVacuum(DbName name);

// The condition "at or below a folder" for a path column: `path = $1 or (path >= $2 and path < $3)`. A slash at
// the folder's end does not matter; "/" holds everything.
struct DbSubtree {
    std::string folder;
    std::string first;
    std::string end;
};
DbSubtree DbSubtreeOf(const char *folder);

#pragma GCC visibility pop
