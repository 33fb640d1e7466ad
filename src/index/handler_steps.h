// Steps that handlers share where they are the same in every respect. Messages keep their owner: the caller
// passes its own log site.
#pragma once

#include "common/log.h"

// Removes the row of a vanished file. 0 removed; -1 when the file still exists or the row could not be
// removed, each with its message.
int MediaRowForget(LogSite at, int kind, const char *path);
