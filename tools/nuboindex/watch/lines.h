// Which requests can be told, and how they look in the queue.
#pragma once

#include <optional>
#include <string>

#include "watch/rename_list.h"
#include "watch/request.h"

// The line; nothing, with a reason, when the format cannot express it.
std::optional<std::string> WatchLine(const WatchRequest &request, std::string &reason);

// Can the daemon be told of this rename as one? Not with a colon in a path; not when it begins or ends in the photo
// share but not both; not when an album goes where folders are no albums.
bool IsRenameTold(const PendingRename &rename);
