// nuboindex failures: the files whose contents the daemon could not read, from the appliance's event log.
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "command.h"
#include "json_text.h"
#include "text_table.h"
#include "unreadable_files.h"
#include "unreadable_reason.h"

static std::string TimeText(time_t time, const char *format, tm *(*parts_of)(const time_t *, tm *))
{
    char text[64];
    tm parts = {};
    parts_of(&time, &parts);
    return std::string(text, strftime(text, sizeof text, format, &parts));
}

static void TablePrint(const std::vector<UnreadableFile> &files, const Output &output)
{
    TextTable table(output, {{"TIME", true}, {"PATH", false}, {"THE FILE", false}});
    for (const UnreadableFile &file : files)
        table.Add({TimeText(file.time, "%Y-%m-%d %H:%M:%S", localtime_r), file.path,
                   UnreadableReason(file.path, file.time)});
    table.Print();
}

static void JsonPrint(const std::vector<UnreadableFile> &files, const Output &output)
{
    Json array = Json::array();
    for (const UnreadableFile &file : files) {
        Json object;
        object["time"] = TimeText(file.time, "%Y-%m-%dT%H:%M:%SZ", gmtime_r);
        JsonTextSet(object, "path", file.path);
        JsonTextSet(object, "reason", UnreadableReason(file.path, file.time));
        array.push_back(object);
    }
    output.out << JsonDump(array, output, 2) << '\n';
}

static int FailuresRun(bool as_json, const Output &output)
{
    std::string log = EventLogFile();
    if (access(log.c_str(), R_OK) != 0 && errno != ENOENT)
        return Complain(output, "cannot read " + log + ": " + strerror(errno));
    std::vector<UnreadableFile> files = UnreadableFilesRead();
    as_json ? JsonPrint(files, output) : TablePrint(files, output);
    return TOOL_OK;
}

void FailuresCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("failures", "Show the files whose contents could not be read.");
    command->footer("The oldest failure comes first. The files are in the index, with what their names tell. "
                    "The reason is what "
                    "can be seen of the file now.");
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, json] {
        chosen = [as_json = json->count() > 0](const Output &output) { return FailuresRun(as_json, output); };
    });
}
