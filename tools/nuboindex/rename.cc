// nuboindex rename: a file or folder that was moved.
#include "command.h"
#include "index_path_of.h"
#include "queue_line.h"
#include "requests.h"

static int RenameRun(const std::string &given_new, const std::string &given_old, const Output &output)
{
    std::string reason;
    std::optional<std::string> new_path = IndexPathOf(given_new, reason);
    std::optional<std::string> old_path = new_path ? IndexPathOf(given_old, reason) : std::nullopt;
    std::optional<std::string> line = old_path ? QueueRenameLine(*new_path, *old_path, reason) : std::nullopt;
    if (!line)
        return Complain(output, "cannot rename '" + given_old + "' to '" + given_new + "': " + reason);
    return RequestsQueue({*line}, output);
}

void RenameCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command =
        app.add_subcommand("rename", "Tell that a file or folder was moved; the new path comes first.");
    command->footer("The photos keep their titles and albums, the videos their notes.");
    CLI::Option *new_path = command->add_option("NEW")->description("the path after the move")->required();
    CLI::Option *old_path = command->add_option("OLD")->description("the path before the move")->required();
    command->callback([&chosen, new_path, old_path] {
        chosen = [new_path, old_path](const Output &output) {
            return RenameRun(new_path->results().front(), old_path->results().front(), output);
        };
    });
}
