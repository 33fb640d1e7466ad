#include "photo_share.h"

#include <limits.h>
#include <unistd.h>

#include "common/paths.h"

static bool HasComponent(const std::string &name, const std::string &component)
{
    return ("/" + name + "/").find("/" + component + "/") != std::string::npos;
}

std::optional<std::string> PhotoShareName(const std::string &path, std::string &reason)
{
    char target[PATH_MAX];
    ssize_t length = readlink(PHOTO_SHARE_LINK, target, sizeof target);
    std::string share = length > 0 ? std::string(target, static_cast<size_t>(length)) + "/" : "";
    if (share.empty())
        reason = "this box has no photo share";
    else if (!path.starts_with(share))
        reason = "it is not below the photo share " + share.substr(0, share.size() - 1);
    else if (HasComponent(path, "@eaDir") || HasComponent(path, "#recycle"))
        reason = "the daemon passes over @eaDir and #recycle";
    else
        return path.substr(share.size());
    return std::nullopt;
}
