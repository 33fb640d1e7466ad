// From the kernel's events to what happened to the names that the index knows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "watch/event_source.h"
#include "watch/pending.h"
#include "watch/share_watch.h"
#include "watch/views.h"

struct Sight {
    std::unique_ptr<EventSource> source;
    Views views;
    std::vector<std::string> roots;  // of the present shares, as the index knows them
    std::string trouble;             // a link's target that cannot be watched
};

// Begins to watch the present shares and what links in them lead to. False, with a reason: a share cannot be watched
// in this way. The source is replaced.
bool SightOpen(Sight &sight, std::unique_ptr<EventSource> source, const std::vector<ShareSeen> &shares,
               std::string &reason);

// Tells `pending` what an event means.
void SightEvent(Sight &sight, const WatchEvent &event, Pending &pending, double now);
