// Paths are cleaned as text, but for "..": behind a symbolic link it means the folder that holds the link's target.
#include "index_path_of.h"

#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "common/paths.h"
#include "paths_below.h"

static std::string CurrentFolder()
{
    char *folder = get_current_dir_name();
    std::string path = folder ? folder : "";
    free(folder);
    return path;
}

static std::string RealPath(const std::string &path)
{
    char *resolved = realpath(path.c_str(), nullptr);
    std::string real = resolved ? resolved : "";
    free(resolved);
    return real;
}

static bool IsLink(const std::string &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

static std::string Parent(std::string path)
{
    if (IsLink(path)) {
        std::string real = RealPath(path);
        if (!real.empty())
            path = real;
    }
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

// The root folder comes out as an empty text.
static std::string Cleaned(const std::string &absolute)
{
    std::string path;
    std::istringstream pieces(absolute);
    for (std::string piece; std::getline(pieces, piece, '/');) {
        if (piece.empty() || piece == ".")
            continue;
        if (piece == "..")
            path = Parent(path);
        else
            path += "/" + piece;
    }
    return path;
}

static std::string LinkTarget(const char *link)
{
    char target[4096];
    ssize_t length = readlink(link, target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<size_t>(length));
}

// A path that reaches the share by its link, or by what the link's target really is, gets the name that stands
// in the link.
static std::string WithShareName(const std::string &path, const char *link)
{
    std::string target = LinkTarget(link);
    if (target.empty() || target[0] != '/' || IsAtOrBelow(path, target))
        return path;
    for (const std::string &other : {std::string(link), RealPath(link)}) {
        if (!other.empty() && IsAtOrBelow(path, other))
            return target + path.substr(other.size());
    }
    return path;
}

std::optional<std::string> IndexPathOf(const std::string &given, std::string &reason)
{
    if (given.empty()) {
        reason = "the path is empty";
        return std::nullopt;
    }
    std::string absolute = given;
    if (given[0] != '/') {
        std::string folder = CurrentFolder();
        if (folder.empty()) {
            reason = std::string("the current folder has no path: ") + strerror(errno);
            return std::nullopt;
        }
        absolute = folder + "/" + given;
    }
    std::string path = Cleaned(absolute);
    for (const char *link : {MUSIC_SHARE_LINK, VIDEO_SHARE_LINK, PHOTO_SHARE_LINK})
        path = WithShareName(path, link);
    return path.empty() ? "/" : path;
}
