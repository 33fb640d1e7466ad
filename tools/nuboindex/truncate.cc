// nuboindex truncate: empties one table.
#include "command.h"
#include "queue_line.h"
#include "requests.h"

static int TruncateRun(const std::string &table, const Output &output)
{
    std::string reason;
    std::optional<std::string> line = QueueLine('T', table, reason);
    if (!line)
        return Complain(output, "cannot truncate '" + table + "': " + reason);
    return RequestsQueue({*line}, output);
}

void TruncateCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("truncate", "Empty one table of the media database.");
    command->footer(
        "The tables are music, video, photo, playlist and directory; any other name changes nothing.");
    CLI::Option *table = command->add_option("TABLE")->description("name of the table")->required();
    command->callback([&chosen, table] {
        chosen = [table](const Output &output) { return TruncateRun(table->results().front(), output); };
    });
}
