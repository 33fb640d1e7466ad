// The shares as the watcher last saw them, so that it sees when one comes, goes or becomes another.
#pragma once

#include <string>
#include <vector>

#include "sync/share.h"

struct ShareSeen {
    std::string name;  // "music"
    std::string root;  // as the daemon takes it
    bool is_present;
    std::string
        identity;  // root, folder, disk, mount and what is mounted inside: another text means another share
};

// `remounts` of the mount table become part of the identity.
std::vector<ShareSeen> SharesSeen(unsigned remounts);

bool operator==(const ShareSeen &one, const ShareSeen &other);
