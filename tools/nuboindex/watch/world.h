// The real world behind the folding: what is there now, and what the daemon can be told.
#pragma once

#include "watch/pending.h"
#include "watch/sight.h"

// `sight` must outlive the result.
PendingWorld WorldOf(const Sight &sight);
