// The counterpart of the daemon's table of commands, as far as files are concerned.
#include "walk_plan.h"

#include <optional>

#include <unistd.h>

#include "common/paths.h"
#include "platform/sdk.h"

static std::optional<std::string> LinkTarget(const char *link)
{
    char target[4096];
    ssize_t length = readlink(link, target, sizeof target);
    if (length <= 0)
        return std::nullopt;
    return std::string(target, static_cast<size_t>(length));
}

static bool HasPhotos()
{
    return BlNUBOFileCheckKeyValue(DEFAULT_SETTINGS_PATH, "supportphoto", "yes", 0) != 0;
}

static void ShareAdd(const char *link, WalkOrder order, std::vector<PlannedWalk> *walks)
{
    if (std::optional<std::string> target = LinkTarget(link))
        walks->push_back({*target, order, false});
}

static std::vector<PlannedWalk> RebuildWalks(const std::string &word)
{
    std::vector<PlannedWalk> walks;
    if (word == "photo") {
        if (HasPhotos())
            ShareAdd(PHOTO_SHARE_LINK, WALK_SORTED, &walks);
        return walks;
    }
    if (word != "video")
        ShareAdd(MUSIC_SHARE_LINK, WALK_LISTED, &walks);
    if (word != "music")
        ShareAdd(VIDEO_SHARE_LINK, WALK_LISTED, &walks);
    if (word != "music" && word != "video")
        ShareAdd(PHOTO_SHARE_LINK, WALK_LISTED, &walks);
    return walks;
}

static std::vector<PlannedWalk> RefreshWalks(const std::string &word)
{
    std::vector<PlannedWalk> walks;
    if (word == "photo" && HasPhotos())
        ShareAdd(PHOTO_SHARE_LINK, WALK_LISTED, &walks);
    return walks;
}

static bool IsRequest(const std::string &line)
{
    return line.size() >= 2 && line[1] == ':';
}

std::vector<PlannedWalk> PlannedWalks(const std::string &line)
{
    if (!IsRequest(line))
        return {};
    std::string argument = line.substr(2);
    switch (line[0]) {
    case 'A':
        return {{argument, WALK_LISTED, false}};
    case 'N':
        return {{argument.substr(0, argument.find(':')), WALK_LISTED, false}};
    case 'a':
        return {{argument, WALK_LISTED, true}};
    case 'R':
        return RebuildWalks(argument);
    case 'U':
        return RefreshWalks(argument);
    default:
        return {};
    }
}

static std::string RebuildText(const std::string &word)
{
    bool is_share = word == "music" || word == "video" || word == "photo";
    return "rebuild " + (is_share ? word : std::string("all"));
}

std::string RequestText(const std::string &line)
{
    if (!IsRequest(line))
        return "no request";
    std::string argument = line.substr(2);
    switch (line[0]) {
    case 'A':
    case 'a':
        return "add " + argument;
    case 'D':
    case 'd':
        return "remove " + argument;
    case 'N':
        return "rename to " + argument.substr(0, argument.find(':'));
    case 'R':
        return RebuildText(argument);
    case 'T':
        return "truncate " + argument;
    case 'U':
        return "refresh " + argument;
    default:
        return "no request";
    }
}
