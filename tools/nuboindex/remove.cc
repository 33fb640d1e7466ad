// nuboindex remove: files and folders that are gone.
#include <sys/stat.h>

#include "command.h"
#include "index_path_of.h"
#include "queue_line.h"
#include "requests.h"

static constexpr char REMOVED_SINGLE = 'd';
static constexpr char REMOVED_TREE = 'D';

// What is gone no longer tells whether it was a file or a folder. "D" forgets everything at and below the path,
// but for the photo of that very name, which only "d" forgets; and a file without an extension has no rows.
static std::string LettersFor(const std::string &given, const std::string &path)
{
    size_t name = path.rfind('/') + 1;
    bool may_be_file = !given.ends_with('/') && path.find('.', name) != std::string::npos;
    return may_be_file ? std::string{REMOVED_SINGLE, REMOVED_TREE} : std::string{REMOVED_TREE};
}

static bool IsStillThere(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

static bool LinesAppend(std::vector<std::string> &lines, const std::string &path, const std::string &letters,
                        std::string &reason)
{
    for (char letter : letters) {
        std::optional<std::string> line = QueueLine(letter, path, reason);
        if (!line)
            return false;
        lines.push_back(*line);
    }
    return true;
}

static int RemoveRun(const std::vector<std::string> &paths, const std::string &forced, const Output &output)
{
    std::vector<std::string> lines;
    int status = TOOL_OK;
    for (const std::string &given : paths) {
        std::string reason;
        std::optional<std::string> path = IndexPathOf(given, reason);
        if (!path || !LinesAppend(lines, *path, forced.empty() ? LettersFor(given, *path) : forced, reason))
            status = Complain(output, "cannot remove '" + given + "': " + reason);
        else if (IsStillThere(*path))
            (void)Complain(output, "'" + given +
                                       "' still exists; its rows stay unless it is gone when the daemon "
                                       "gets to it");
    }
    return RequestsQueue(lines, output) == TOOL_OK ? status : TOOL_FAILED;
}

void RemoveCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("remove", "Forget files and folders that no longer exist.");
    command->footer("The daemon keeps the rows of what still exists when it gets to the request. What is gone "
                    "no longer tells what it was, so a path that could have been a file is queued as both.");
    CLI::Option *paths = PathsDefine(*command, "PATH", "files or folders; a slash at the end says folder");
    CLI::Option *single =
        command->add_flag("-s,--single")->description("each was a single file (request \"d\")");
    CLI::Option *tree = command->add_flag("-t,--tree")->description("each was a folder (request \"D\")");
    tree->excludes(single);
    command->callback([&chosen, paths, single, tree] {
        std::string forced = single->count() ? std::string{REMOVED_SINGLE}
                             : tree->count() ? std::string{REMOVED_TREE}
                                             : "";
        chosen = [paths, forced](const Output &output) { return RemoveRun(paths->results(), forced, output); };
    });
}
