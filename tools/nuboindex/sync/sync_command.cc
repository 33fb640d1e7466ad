// nuboindex sync, nuboindex check: compare the shares with the index, and queue what differs or show it.
#include "command.h"
#include "daemon_process.h"
#include "json_text.h"
#include "printable.h"
#include "sync/sync.h"

static constexpr char PLACES_HELP[] =
    "music, video, photo, or folders and files inside shares; every share when none is given";

static constexpr char COMMON_HELP[] =
    "Files are told by path, size and times; none is opened. A share that is not mounted, or whose root is "
    "empty while "
    "the index has rows for it, is reported, and so is what cannot be read; nothing of it counts as deleted.";

struct SyncWords {
    SyncOptions sync;
    bool as_json;
    bool is_quiet;
};

static Json PathsJson(const std::vector<std::string> &paths)
{
    Json array = Json::array();
    for (const std::string &path : paths) {
        Json object;
        JsonTextSet(object, "path", path);
        array.push_back(object);
    }
    return array;
}

static Json DifferenceJson(const SyncDifference &difference)
{
    Json object;
    object["state"] = difference.sign == '+' ? "new" : difference.sign == '-' ? "gone" : "changed";
    JsonTextSet(object, "path", difference.path);
    object["folder"] = difference.is_folder;
    object["paths"] = difference.paths;
    return object;
}

static void JsonPrint(const SyncReport &report, bool was_queued, const Output &output)
{
    Json object;
    object["files"] = report.files;
    object["new"] = report.added;
    object["gone"] = report.removed;
    object["changed"] = report.changed;
    object["requests"] = report.requests;
    object["queued"] = was_queued;
    object["complete"] = report.complete;
    object["differences"] = Json::array();
    for (const SyncDifference &difference : report.differences)
        object["differences"].push_back(DifferenceJson(difference));
    object["absent_shares"] = report.absent_shares;
    object["absent_folders"] = PathsJson(report.absent_folders);
    object["unreadable"] = PathsJson(report.unreadable);
    object["cannot_be_queued"] = PathsJson(report.cannot_be_queued);
    output.out << JsonDump(object, output, 2) << '\n';
}

static void DifferencesPrint(const SyncReport &report, const Output &output)
{
    for (const SyncDifference &difference : report.differences) {
        output.out << difference.sign << ' ' << PrintableText(difference.path);
        if (difference.is_folder && difference.path != "/")
            output.out << '/';
        if (difference.paths > 1)
            output.out << " (" << difference.paths << " files and folders)";
        output.out << '\n';
    }
}

static void SummaryPrint(const SyncReport &report, const Output &output)
{
    output.out << report.files << " files";
    if (report.differences.empty())
        output.out << ", nothing differs\n";
    else
        output.out << "; " << report.added << " new, " << report.removed << " gone, " << report.changed
                   << " changed\n";
}

static void QueuedPrint(const SyncReport &report, const Output &output)
{
    if (report.requests == 0)
        return;
    output.out << "queued " << report.requests << (report.requests == 1 ? " request" : " requests")
               << (DaemonPid() == 0 ? "; the daemon is not running" : "") << '\n';
}

static void TroublesPrint(const SyncReport &report, const Output &output)
{
    for (const std::string &path : report.absent_folders)
        (void)Complain(output, path + ": its disk seems not to be mounted; its rows stay (see --allow-empty)");
    for (const std::string &path : report.unreadable)
        (void)Complain(output, path + ": cannot be read; its rows stay");
    for (const std::string &path : report.cannot_be_queued)
        (void)Complain(output, path + ": no request can mend this without touching more; rebuild its share");
}

static int CommandRunNow(const SyncWords &words, const Output &output)
{
    SyncReport report;
    int status = SyncRun(words.sync, report, output);
    if (status == TOOL_USAGE)
        return status;
    TroublesPrint(report, output);
    if (words.as_json) {
        JsonPrint(report, words.sync.queue, output);
    } else if (!words.is_quiet) {
        if (!words.sync.queue)
            DifferencesPrint(report, output);
        if (output.width > 0)
            SummaryPrint(report, output);
        if (words.sync.queue)
            QueuedPrint(report, output);
    }
    bool differs = !words.sync.queue && !report.differences.empty();
    return differs ? TOOL_FAILED : status;
}

static void CommandDefine(CLI::App *command, CommandRun &chosen, bool queue)
{
    CLI::Option *places = command->add_option("PLACE")->description(PLACES_HELP);
    places->expected(0, -1)->allow_extra_args();
    CLI::Option *allow_empty =
        command->add_flag("--allow-empty")->description("what is absent or empty counts as deleted");
    CLI::Option *quiet = command->add_flag("-q,--quiet")->description("print errors only");
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, places, allow_empty, quiet, json, queue] {
        SyncWords words = {
            {places->results(), allow_empty->count() > 0, queue}, json->count() > 0, quiet->count() > 0};
        chosen = [words](const Output &output) { return CommandRunNow(words, output); };
    });
}

void SyncCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("sync", "Queue what is new, gone or changed since it was indexed.");
    command->footer(COMMON_HELP);
    CommandDefine(command, chosen, true);
}

void CheckCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command =
        app.add_subcommand("check", "Show what is new (+), gone (-) or changed (~) and queue nothing.");
    command->footer(std::string(COMMON_HELP) +
                    " Exit status 1 says that something differs, or was not compared.");
    CommandDefine(command, chosen, false);
}
