// The two connections: opened when they are first needed, waited for in a batch, given up when they break.
#include "nubodb/db_connection.h"

#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include "nubodb/missed.h"

NuboDbConnection connections[DB_COUNT];

static const char *const DB_NAMES[] = {"media", "photo"};

void ConnectionFailureLog(NuboDbConnection *connection, const char *what)
{
    std::string line = std::string(what) + ": " + connection->error;
    if (line == connection->logged)
        return;
    syslog(LOG_ERR, "nubodb: %s database: %s", DB_NAMES[connection->name], line.c_str());
    connection->logged = line;
}

void ConnectionClose(NuboDbConnection *connection)
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

void ConnectionGiveUp(NuboDbConnection *connection)
{
    ConnectionClose(connection);
    UnsyncedNote(connection);
}

int64_t ConnectionOutcome(NuboDbConnection *connection, int64_t result, const char *what)
{
    if (result >= 0) {
        connection->logged.clear();
        return result;
    }
    ConnectionFailureLog(connection, what);
    if (connection->engine && !connection->driver->usable(connection))
        ConnectionGiveUp(connection);
    return -1;
}

// Between two attempts, once waiting has been given up: at least so long, and so many times what the attempt took. A
// tenth of the time is enough for them.
static constexpr int64_t RETRY_PAUSE_MS = 5000;
static constexpr int64_t RETRY_PAUSE_TIMES = 9;

static constexpr int64_t WAIT_STEP_MS = 250;

// What calls may still spend waiting for a server; more than 0 in a batch only.
static int64_t wait_left_ms = 0;

static int64_t NowMs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int ConnectionOpenOnce(NuboDbConnection *connection, bool set_up)
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
        int result = ConnectionOpenOnce(connection, false);
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

void ConnectionWaitAllow(int64_t ms)
{
    wait_left_ms = ms;
}

void ConnectionRetryAllow()
{
    for (NuboDbConnection &connection : connections)
        connection.retry_at = 0;
}

int ConnectionOpen(NuboDbConnection *connection)
{
    if (connection->engine)
        return 0;
    connection->statement_fault = false;
    if (connection->retry_at > NowMs())
        return -1;
    int64_t begin = NowMs();
    int result = ConnectionOpenOnce(connection, false);
    if (result < 0)
        ConnectionFailureLog(connection, "cannot be opened");
    if (result < 0 && connection->unreachable && wait_left_ms > 0) {
        result = OpenWaiting(connection, &begin);
        if (result < 0)
            ConnectionFailureLog(connection, "cannot be opened");
    }
    if (result < 0)
        RetryPause(connection, begin);
    else
        ConnectionRetryAllow();
    return result;
}

NuboDbConnection *DbOpen(DbName name)
{
    NuboDbConnection *connection = &connections[name];
    return ConnectionOpen(connection) == 0 ? connection : nullptr;
}
