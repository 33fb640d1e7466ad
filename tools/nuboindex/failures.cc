// nuboindex failures: the files whose contents the daemon could not read, from the appliance's event log.
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "command.h"
#include "json_text.h"
#include "nlib/config.h"
#include "nlib/event_log.h"
#include "text_table.h"

static constexpr unsigned int UNREADABLE_FILE = 0x11B00510;  // the event of a file stored with defaults only

static std::string TimeText(time_t time, const char *format, tm *(*parts_of)(const time_t *, tm *))
{
    char text[64];
    tm parts = {};
    parts_of(&time, &parts);
    return std::string(text, strftime(text, sizeof text, format, &parts));
}

static void TablePrint(const std::vector<EventLogRow> &rows, const Output &output)
{
    TextTable table(output, {{"TIME", true}, {"PATH", false}});
    for (const EventLogRow &row : rows)
        table.Add({TimeText(row.time, "%Y-%m-%d %H:%M:%S", localtime_r), row.texts[0]});
    table.Print();
}

static void JsonPrint(const std::vector<EventLogRow> &rows, const Output &output)
{
    Json array = Json::array();
    for (const EventLogRow &row : rows) {
        Json object;
        object["time"] = TimeText(row.time, "%Y-%m-%dT%H:%M:%SZ", gmtime_r);
        JsonTextSet(object, "path", row.texts[0]);
        array.push_back(object);
    }
    output.out << JsonDump(array, output, 2) << '\n';
}

static int FailuresRun(bool as_json, const Output &output)
{
    std::string log = std::string(PlatformSetting("state_dir")) + "/event.log";
    if (access(log.c_str(), R_OK) != 0 && errno != ENOENT)
        return Complain(output, "cannot read " + log + ": " + strerror(errno));
    std::vector<EventLogRow> rows = EventLogRead();
    std::erase_if(rows, [](const EventLogRow &row) { return row.event != UNREADABLE_FILE; });
    as_json ? JsonPrint(rows, output) : TablePrint(rows, output);
    return TOOL_OK;
}

void FailuresCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("failures", "Show the files whose contents could not be read.");
    command->footer("The oldest failure comes first. The files are in the index, with what their names tell.");
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, json] {
        chosen = [as_json = json->count() > 0](const Output &output) { return FailuresRun(as_json, output); };
    });
}
