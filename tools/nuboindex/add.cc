// nuboindex add: files and folders that are new or have changed.
#include <sys/stat.h>

#include <errno.h>
#include <string.h>

#include "command.h"
#include "index_path_of.h"
#include "queue_line.h"
#include "requests.h"

static constexpr char ADDED_SINGLE = 'a';
static constexpr char ADDED_TREE = 'A';

// A folder is added with all that is in it.
static std::optional<char> LetterFor(const std::string &path, std::string &reason)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        reason = strerror(errno);
    else if (S_ISDIR(status.st_mode))
        return ADDED_TREE;
    else if (S_ISREG(status.st_mode))
        return ADDED_SINGLE;
    else
        reason = "neither a file nor a folder";
    return std::nullopt;
}

static std::optional<std::string> LineFor(const std::string &given, char forced, std::string &reason)
{
    std::optional<std::string> path = IndexPathOf(given, reason);
    if (!path)
        return std::nullopt;
    std::optional<char> letter = forced ? forced : LetterFor(*path, reason);
    if (!letter)
        return std::nullopt;
    return QueueLine(*letter, *path, reason);
}

static int AddRun(const std::vector<std::string> &paths, char forced, const RequestWish &wish,
                  const Output &output)
{
    std::vector<std::string> lines;
    int status = TOOL_OK;
    for (const std::string &path : paths) {
        std::string reason;
        std::optional<std::string> line = LineFor(path, forced, reason);
        if (line)
            lines.push_back(*line);
        else
            status = Complain(output, "cannot add '" + path + "': " + reason);
    }
    return RequestsQueue(lines, output, wish) == TOOL_OK ? status : TOOL_FAILED;
}

void AddCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("add", "Index files, and folders with all that is in them.");
    command->footer("A path that cannot be queued is reported, and the others are queued.");
    CLI::Option *paths = PathsDefine(*command, "PATH", "files or folders");
    CLI::Option *single = command->add_flag("-s,--single")
                              ->description("a folder by itself, without what is in it (request \"a\"); "
                                            "paths need not exist yet");
    CLI::Option *tree = command->add_flag("-t,--tree")
                            ->description("walk whatever is there when the daemon gets to it (request "
                                          "\"A\"); paths need not exist yet");
    tree->excludes(single);
    WaitOptions options = WaitOptionsDefine(*command);
    command->callback([&chosen, paths, single, tree, options] {
        char forced = single->count() ? ADDED_SINGLE : tree->count() ? ADDED_TREE : '\0';
        chosen = [paths, forced, wish = options.Wish()](const Output &output) {
            return AddRun(paths->results(), forced, wish, output);
        };
    });
}
