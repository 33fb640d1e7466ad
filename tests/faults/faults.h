// A batch of every kind of change, the rows that it leaves behind when nothing disturbs it, and what can be done to the
// databases meanwhile. The test's program runs inside tests/faults/ill-treated.
#pragma once

#include <sys/types.h>

#include <string>

#include "system/box.h"

// Has something done from outside: "restart fast", "state ro"; see tests/faults/ill-treated.
void Ask(const std::string &what);

bool OnServer();

// platform.conf with these lines behind those that are there, and as it was again.
void SettingsAdd(const std::string &lines);
void SettingsRestore();

// Lays out shares and returns the requests for them.
Texts BatchLay();

// All rows of both databases, without marks and the numbers that an engine gives out.
std::string RowsDump();

// The rows after the batch was executed undisturbed; the box is new again afterwards.
std::string UndisturbedRows(const Texts &lines);

// How long that run took: the faults come within it.
double BatchSeconds();

// Queues the lines and starts a daemon, which is in the batch when this returns.
pid_t BatchBegin(const Texts &lines);

// Waits until the daemon has told the media server of its batch, and ends it.
void BatchEnd(pid_t daemon);

// Expects these rows and no others, and names a few that differ.
void ExpectRowsNow(const std::string &rows);

// The fault is gone: asks for what was missed and lets daemons work until there is nothing more to do. False when they
// do not come to an end.
bool WorkGoesOn();

// Both: nothing was lost.
void ExpectNothingLost(const std::string &rows);

// The lines that the libraries wrote into the daemon's log, without those that the daemon wrote.
Texts LibraryLog();

// Is this text in one of them?
bool LogHas(const std::string &text);

// A pause of up to this long, in which the batch goes on.
void Pause(double seconds_max);
