#include "watch/share_watch.h"

#include <stdlib.h>

#include "watch/mount_table.h"

static std::string IdentityOf(const Share &share, unsigned remounts)
{
    char *resolved = realpath(share.root.c_str(), nullptr);
    std::string real = resolved ? resolved : "";
    free(resolved);
    std::string identity =
        share.root + '\n' + real + '\n' + std::to_string(remounts) + '\n' + PlaceIdentity(real);
    for (const std::string &place : MountsBelow(real))
        identity += place + '\n' + PlaceIdentity(place);
    return identity;
}

std::vector<ShareSeen> SharesSeen(unsigned remounts)
{
    std::vector<ShareSeen> seen;
    for (const Share &share : SharesRead()) {
        bool is_present = share.state == SHARE_PRESENT;
        seen.push_back(
            {share.name, share.root, is_present, is_present ? IdentityOf(share, remounts) : share.root});
    }
    return seen;
}

bool operator==(const ShareSeen &one, const ShareSeen &other)
{
    return one.name == other.name && one.is_present == other.is_present && one.identity == other.identity;
}
