// nuboindex publish: who may see an album. The daemon reads a folder's flag when it makes the album and never again,
// and an album that was deleted and made anew would lose its cover and the people let in. So the flag of an album that
// exists is set in its row, and only a folder that is none yet goes through a description file.
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "albums.h"
#include "command.h"
#include "description_file.h"
#include "index_path_of.h"
#include "photo_share.h"
#include "queue_line.h"
#include "requests.h"

struct PublishAsk {
    std::string path;  // as the index knows it
    std::string name;  // of the album
    bool is_public;
};

static bool IsAlbumFolder(const PublishAsk &ask, std::string &reason)
{
    struct stat status;
    if (stat(ask.path.c_str(), &status) != 0)
        reason = strerror(errno);
    else if (!S_ISDIR(status.st_mode))
        reason = "it is no folder";
    else if (ask.name.find('/') != ask.name.rfind('/'))
        reason = "albums are at most two folders deep";
    else
        return true;
    return false;
}

// What a sub-album's own description says is replaced by its album's flag when it is made.
static int NewAlbumPublish(const PublishAsk &ask, std::string &reason, const Output &output)
{
    std::optional<std::string> line = QueueLine('a', ask.path, reason);
    if (ask.name.find('/') != std::string::npos)
        reason =
            "it is no album yet; once it is indexed it is as public as the album that holds it, and can be "
            "changed then";
    else if (line && DescriptionWrite(ask.path, "NUBOPHOTO:PUBLIC", ask.is_public ? "1" : "0", reason))
        return RequestsQueue({*line}, output);
    return -1;
}

static int AlbumPublish(const PublishAsk &ask, std::string &reason, const Output &output)
{
    if (!IsAlbumFolder(ask, reason))
        return -1;
    int albums = AlbumPublicSet(ask.name, ask.is_public);
    if (albums == 0)
        return NewAlbumPublish(ask, reason, output);
    if (albums < 0) {
        reason = "the photo database cannot be changed; the system log says why";
        return -1;
    }
    output.out << "done";
    if (albums > 1)
        output.out << ", sub-albums included: " << albums - 1;
    output.out << '\n';
    return TOOL_OK;
}

static int PublishRun(const std::string &given, bool is_public, const Output &output)
{
    std::string reason;
    std::optional<std::string> path = IndexPathOf(given, reason);
    std::optional<std::string> name = path ? PhotoShareName(*path, reason) : std::nullopt;
    int status = name ? AlbumPublish({*path, *name, is_public}, reason, output) : -1;
    return status < 0 ? Complain(output, "cannot publish '" + given + "': " + reason) : status;
}

void PublishCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("publish", "Say whether everybody may see an album.");
    command->footer(
        "Its sub-albums get the same flag. An album's flag changes at once; a folder that is no album "
        "yet becomes one with this flag.");
    CLI::Option *folder = command->add_option("FOLDER")->description("a folder of the photo share")->required();
    CLI::Option *flag = command->add_option("FLAG")->description("yes or no")->required();
    flag->check(CLI::IsMember({"yes", "no"}));
    command->callback([&chosen, folder, flag] {
        chosen = [folder, flag](const Output &output) {
            return PublishRun(folder->results().front(), flag->results().front() == "yes", output);
        };
    });
}
