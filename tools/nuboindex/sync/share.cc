#include "sync/share.h"

#include <dirent.h>
#include <errno.h>
#include <string.h>

#include <algorithm>

#include "common/paths.h"
#include "index/media_record.h"
#include "index/share_path.h"
#include "index_path_of.h"
#include "paths_below.h"
#include "sync/mount_point.h"
#include "sync/tree.h"

static void ShareLook(Share &share)
{
    char target[4096];
    share.state = SHARE_UNLINKED;
    if (ShareLinkRead(share.link, target) != 0) {
        share.reason = std::string(share.link) + " is no link";
        return;
    }
    share.root = target;
    share.state = SHARE_ABSENT;
    if (share.root[0] != '/')
        share.reason = std::string(share.link) + " holds no absolute path";
    else if (PathStatus(share.root, &share.status) != 0)
        share.reason = share.root + ": " + strerror(errno);
    else if (!S_ISDIR(share.status.stx_mode))
        share.reason = share.root + " is no folder";
    else if (std::string place = UnmountedAbove(share.root); !place.empty())
        share.reason = "nothing is mounted on " + place + ", where " + share.root + " lies";
    else
        share.state = SHARE_PRESENT;
}

std::vector<Share> SharesRead()
{
    std::vector<Share> shares = {
        {"music", MEDIA_KIND_MUSIC, MUSIC_SHARE_LINK, "", SHARE_UNLINKED, "", {}},
        {"video", MEDIA_KIND_VIDEO, VIDEO_SHARE_LINK, "", SHARE_UNLINKED, "", {}},
        {"photo", MEDIA_KIND_PHOTO, PHOTO_SHARE_LINK, "", SHARE_UNLINKED, "", {}},
    };
    for (Share &share : shares)
        ShareLook(share);
    return shares;
}

static bool IsHiddenName(const char *name)
{
    static constexpr const char *names[] = {"@eaDir", "#recycle", "lost+found"};
    return name[0] == '.' || std::any_of(std::begin(names), std::end(names),
                                         [name](const char *hidden) { return strcmp(name, hidden) == 0; });
}

bool IsRootEmpty(const Share &share)
{
    DIR *dir = opendir(share.root.c_str());
    if (!dir)
        return false;  // the walk says why
    bool is_empty = true;
    errno = 0;
    while (const dirent *entry = is_empty ? readdir(dir) : nullptr)
        is_empty = IsHiddenName(entry->d_name);
    if (errno != 0)
        is_empty = false;
    closedir(dir);
    return is_empty;
}

bool IsShareUnchanged(const Share &share)
{
    struct statx now;
    return PathStatus(share.root, &now) == 0 && now.stx_ino == share.status.stx_ino &&
           now.stx_dev_major == share.status.stx_dev_major && now.stx_dev_minor == share.status.stx_dev_minor;
}

static const Share *ShareNamed(const std::vector<Share> &shares, const std::string &name)
{
    auto found =
        std::find_if(shares.begin(), shares.end(), [&](const Share &share) { return name == share.name; });
    return found == shares.end() ? nullptr : &*found;
}

// The shares below a folder, or the one that it lies in: the innermost.
static bool FolderChoose(const std::string &folder, const std::vector<Share> &shares,
                         std::vector<Place> &places)
{
    const Share *around = nullptr;
    bool found = false;
    for (const Share &share : shares) {
        std::string root = WithoutSlash(share.root);
        if (share.root.empty())
            continue;
        if (IsAtOrBelow(root, WithoutSlash(folder))) {
            places.push_back({share.root, &share});
            found = true;
        } else if (IsAtOrBelow(folder, root) && (!around || root.size() > WithoutSlash(around->root).size())) {
            around = &share;
        }
    }
    if (around &&
        !std::any_of(places.begin(), places.end(), [&](auto &place) { return place.folder == folder; }))
        places.push_back({folder, around});
    return found || around;
}

void InnerPlacesDrop(std::vector<Place> &places)
{
    std::vector<Place> outer;
    auto shorter = [](const Place &a, const Place &b) { return a.folder.size() < b.folder.size(); };
    std::stable_sort(places.begin(), places.end(), shorter);
    for (const Place &place : places) {
        auto holds = [&](const Place &other) {
            return IsAtOrBelow(WithoutSlash(place.folder), WithoutSlash(other.folder));
        };
        if (std::none_of(outer.begin(), outer.end(), holds))
            outer.push_back(place);
    }
    places = outer;
}

bool PlacesChoose(const std::vector<std::string> &words, const std::vector<Share> &shares,
                  std::vector<Place> &places, std::string &reason)
{
    for (const Share &share : shares) {
        if (words.empty())
            places.push_back({share.root, &share});
    }
    for (const std::string &word : words) {
        if (const Share *share = ShareNamed(shares, word)) {
            places.push_back({share->root, share});
            continue;
        }
        std::optional<std::string> folder = IndexPathOf(word, reason);
        if (folder && !FolderChoose(*folder, shares, places)) {
            reason = "'" + word + "' is neither music, video or photo nor a folder inside a share";
            folder.reset();
        }
        if (!folder)
            return false;
    }
    return true;
}
