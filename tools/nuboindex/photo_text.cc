#include "photo_text.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "description_file.h"
#include "index_path_of.h"
#include "photo_share.h"
#include "platform/media_index.h"
#include "queue_line.h"
#include "requests.h"

static bool IsPhoto(const std::string &path, std::string &reason)
{
    struct stat status;
    if (!PhotoShareName(path, reason))
        return false;
    if (stat(path.c_str(), &status) != 0)
        reason = strerror(errno);
    else if (!S_ISREG(status.st_mode) || !BlNUBOIndexIsPhotoOnWebFile(path.c_str()))
        reason = "it is no photo";
    else
        return true;
    return false;
}

// The request, once the description file is in its place.
static std::optional<std::string> Prepared(const char *key, const std::string &given, const std::string &text,
                                           std::string &reason)
{
    if (!IsDescriptionText(text, reason))
        return std::nullopt;
    std::optional<std::string> path = IndexPathOf(given, reason);
    if (!path || !IsPhoto(*path, reason))
        return std::nullopt;
    std::optional<std::string> line = QueueLine('a', *path, reason);
    if (!line || !DescriptionWrite(*path, key, text, reason))
        return std::nullopt;
    return line;
}

int PhotoTextSet(const char *verb, const char *key, const std::string &given, const std::string &text,
                 const Output &output)
{
    std::string reason;
    std::optional<std::string> line = Prepared(key, given, text, reason);
    if (!line)
        return Complain(output, std::string("cannot ") + verb + " '" + given + "': " + reason);
    return RequestsQueue({*line}, output);
}
