// The changes that wait for a database, in the words of the status.
#pragma once

#include "json_text.h"
#include "output.h"

// A line of the status; nothing where no change was missed.
void MissedChangesPrint(const Output &output);

// Their number, for the status as JSON.
Json MissedChangesJson();
