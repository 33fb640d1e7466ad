// The shares, and whether they are there. An absent share is not an empty share.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

enum ShareState {
    SHARE_PRESENT,
    SHARE_UNLINKED,  // the box has no such share, or has lost its link
    SHARE_ABSENT,    // the link leads to no folder, or its disk is not mounted
};

struct Share {
    const char *name;  // "music"
    int kind;          // of the media database, for which the share is made
    const char *link;
    std::string root;  // what the link holds, as the daemon takes it; empty without a link
    ShareState state;
    std::string reason;   // why it is not present
    struct statx status;  // of the root
};

// Music, video, photo.
std::vector<Share> SharesRead();

// Has the root nothing in it but hidden names and folders of the box? Then its disk may not be mounted.
bool IsRootEmpty(const Share &share);

// Is there still the same folder behind the link as when the share was read?
bool IsShareUnchanged(const Share &share);

// What is to be compared: a share, or a folder or file inside one.
struct Place {
    std::string folder;
    const Share *share;
};

// The places that the words name; without a word all shares. False, with a reason: a word names no share and nothing
// inside one.
bool PlacesChoose(const std::vector<std::string> &words, const std::vector<Share> &shares,
                  std::vector<Place> &places, std::string &reason);

// Leaves the places out that lie inside of others.
void InnerPlacesDrop(std::vector<Place> &places);
