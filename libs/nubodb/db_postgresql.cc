// PostgreSQL. Each statement commits by itself without waiting for the server's disk; one flush at the end of a batch
// does that for all of them, replicas included where the server waits for them.
#include "nubodb/db_postgresql.h"

#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "nlib/config.h"

PostgresqlEngine *PostgresqlEngineOf(NuboDbConnection *connection)
{
    return static_cast<PostgresqlEngine *>(connection->engine);
}

static int64_t NowMs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// One line, without the hints that come behind the first.
static std::string FirstLine(const char *message)
{
    return std::string(message, strcspn(message, "\n"));
}

// The failures of a statement itself, which would fail again on a sound server: data, constraints, names, syntax. A
// table that is not there or not ours belongs to the server's state, which somebody will put right.
static bool IsStatementFault(const std::string &state)
{
    if (state == "42501" || state == "42P01")
        return false;
    return state.starts_with("22") || state.starts_with("23") || state.starts_with("42") || state == "0A000";
}

// Failures that a new connection may mend: the server became a replica, a table changed its shape.
static bool IsMendedByReconnecting(const std::string &state)
{
    return state == "25006" || state == "0A000" || state == "26000" || state.starts_with("57P") ||
           state.starts_with("08");
}

int PostgresqlFail(NuboDbConnection *connection, const char *what, const PGresult *result)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    const char *state_field = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    std::string state = state_field ? state_field : "";
    std::string message = FirstLine(result ? PQresultErrorMessage(result) : PQerrorMessage(engine->link));
    if (message.empty())
        message = engine->broken ? "the server does not answer" : "the connection is lost";
    connection->error = StatementHead(what) + ": " + message;
    if (PQstatus(engine->link) != CONNECTION_OK || state.empty() || IsMendedByReconnecting(state))
        engine->broken = true;
    connection->statement_fault = !engine->broken && IsStatementFault(state);
    engine->conflict = state.starts_with("40");
    engine->lock_missed = state == "55P03";
    return -1;
}

// 1: there is something to read; 0: not in time; -1: failed.
static int AnswerWait(PGconn *link)
{
    int seconds = atoi(PlatformSetting("database_answer_wait"));
    int64_t wait = 1000 * static_cast<int64_t>(seconds > 0 ? seconds : 1);
    int64_t end = NowMs() + wait;
    for (int64_t left = wait; left > 0; left = end - NowMs()) {
        struct pollfd wanted = {PQsocket(link), POLLIN, 0};
        int count = poll(&wanted, 1, static_cast<int>(left < INT_MAX ? left : INT_MAX));
        if (count > 0)
            return 1;
        if (count < 0 && errno != EINTR)
            return -1;
    }
    return 0;
}

PGresult *PostgresqlResultNext(PostgresqlEngine *engine)
{
    while (PQisBusy(engine->link)) {
        if (AnswerWait(engine->link) <= 0) {
            engine->broken = true;
            return nullptr;
        }
        if (!PQconsumeInput(engine->link))
            break;  // the next result is the failure
    }
    return PQgetResult(engine->link);
}

PGresult *PostgresqlPlainRun(NuboDbConnection *connection, const char *sql)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    PGresult *last = nullptr;
    bool failed = !PQsendQuery(engine->link, sql);
    if (failed)
        (void)PostgresqlFail(connection, sql, nullptr);
    while (PGresult *result = PostgresqlResultNext(engine)) {
        ExecStatusType status = PQresultStatus(result);
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && !failed) {
            (void)PostgresqlFail(connection, sql, result);
            failed = true;
        }
        PQclear(last);
        last = result;
    }
    if (!failed && (engine->broken || !last)) {
        (void)PostgresqlFail(connection, sql, nullptr);
        failed = true;
    }
    if (!failed)
        return last;
    PQclear(last);
    return nullptr;
}

static bool PostgresqlUsable(NuboDbConnection *connection)
{
    const PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    return !engine->broken && PQstatus(engine->link) == CONNECTION_OK;
}

// Has the server said goodbye since the last batch?
static bool PostgresqlCurrent(NuboDbConnection *connection)
{
    return PQconsumeInput(PostgresqlEngineOf(connection)->link) && PostgresqlUsable(connection);
}

// A commit that waits for the disk takes everything before it along. Only one that wrote something does wait; a
// transaction number alone does not make it.
static int PostgresqlSync(NuboDbConnection *connection)
{
    static constexpr char FLUSH[] =
        "begin; set local synchronous_commit = on; update schema_version set version = version; commit";
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    if (engine->impatient)
        PQclear(PostgresqlPlainRun(connection, "set lock_timeout = '3s'"));
    engine->impatient = false;
    if (!engine->unsynced)
        return 0;
    PGresult *result = PostgresqlPlainRun(connection, FLUSH);
    if (!result) {
        engine->broken = true;  // the transaction may still be open
        connection->statement_fault = false;
        return -1;
    }
    PQclear(result);
    engine->unsynced = false;
    return 0;
}

// The server does that by itself, all the time.
static int PostgresqlVacuum(NuboDbConnection *)
{
    return 0;
}

// Literals of composed statements are read by this library and travel beside the statement.
static int PostgresqlEscape(char *dst, const char *src, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        if (src[i] == '\'')
            *dst++ = '\'';
        *dst++ = src[i];
    }
    *dst = '\0';
    return 0;
}

const DbDriver DB_POSTGRESQL = {
    "postgresql",
    PostgresqlOpen,
    PostgresqlSetUp,
    PostgresqlClose,
    PostgresqlRun,
    PostgresqlUsable,
    PostgresqlCurrent,
    PostgresqlSync,
    PostgresqlVacuum,
    PostgresqlBoxes,
    "begin",
    PostgresqlEscape,
    true,
};
