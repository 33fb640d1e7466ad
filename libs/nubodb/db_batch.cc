// A batch: what is flushed at its end, and what a failing database did not take.
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "nlib/config.h"
#include "nubodb/db_connection.h"
#include "nubodb/missed.h"

static bool in_batch = false;
static bool tried_again = false;  // what was missed lately

// What a lost connection wrote was noted when it was lost.
static int ConnectionSync(NuboDbConnection *connection)
{
    if (!connection->engine)
        return 0;
    if (ConnectionOutcome(connection, connection->driver->sync(connection), "sync failed") < 0)
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
    ConnectionRetryAllow();
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
    ConnectionWaitAllow(0);
}

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
    ConnectionWaitAllow(seconds > 0 ? static_cast<int64_t>(seconds) * 1000 : 0);
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
    ConnectionWaitAllow(0);
    if (!in_batch)
        return result;
    in_batch = false;
    MissedFlush();
    MissedTryAgain();
    return result;
}
