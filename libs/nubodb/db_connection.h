// The two connections, for the files of this library that work on them.
#pragma once

#include "nubodb/db_driver.h"

extern NuboDbConnection connections[DB_COUNT];

// Opens it unless it is open, in a batch after waiting for a server that is not there. 0; -1 with the failure logged.
int ConnectionOpen(NuboDbConnection *connection);

// One attempt, without waiting and without a line in the log; `set_up` also makes what the database lives in.
// 0; -1 with connection->error set.
int ConnectionOpenOnce(NuboDbConnection *connection, bool set_up);

void ConnectionClose(NuboDbConnection *connection);

// Closes it because it is broken; what the engine may have lost is noted as missed.
void ConnectionGiveUp(NuboDbConnection *connection);

// Logs connection->error behind `what`. The same failure again and again, as a batch meets it, is one line.
void ConnectionFailureLog(NuboDbConnection *connection, const char *what);

// What remains to be done after a driver's call: `result`, or -1 with the failure logged and a broken connection given
// up.
int64_t ConnectionOutcome(NuboDbConnection *connection, int64_t result, const char *what);

// The milliseconds that calls may spend waiting for a server from now on; 0 for none.
void ConnectionWaitAllow(int64_t ms);

// The next call may try to open what was left in peace.
void ConnectionRetryAllow();
