// nuboindex status: is the daemon alive, what waits, what is being done, what is indexed.
#include "batch_progress.h"
#include "command.h"
#include "common/paths.h"
#include "daemon_process.h"
#include "json_text.h"
#include "media_rows.h"
#include "missed_changes.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "progress/follow.h"
#include "watch/watch_state.h"

struct StatusRowCount {
    std::string name;
    long rows;  // -1: cannot be read
};

struct StatusReport {
    int pid;  // 0: not running
    long queue_lines;
    BatchProgress batch;
    std::vector<StatusRowCount> counts;
};

static constexpr char COUNT_COLUMN[] = "count(*) as row_total";

static long CountRead(NuboDbHandle *query)
{
    long rows = -1;
    (void)RowsVisit(query, [&](const MediaRow &row) { rows = atol(row("row_total").c_str()); });
    return rows;
}

static StatusReport StatusRead()
{
    static constexpr int PHOTO_TABLE = 0, ALBUM_TABLE = 3;
    StatusReport status = {DaemonPid(), QueueLineCount(INDEX_QUEUE_PATH), {}, {}};
    status.batch = BatchProgressRead(status.pid);
    for (const MediaKindName &kind : MEDIA_KINDS)
        status.counts.push_back(
            {kind.name, CountRead(MediaInfoDBOpen(kind.kind, COUNT_COLUMN, "", 0, "", 0, 0, 0))});
    auto photo_rows = [](int table) {
        return CountRead(PhotoInfoDBOpen(table, COUNT_COLUMN, "", 0, "", 0, 0));
    };
    status.counts.push_back({"photo_database", photo_rows(PHOTO_TABLE)});
    status.counts.push_back({"albums", photo_rows(ALBUM_TABLE)});
    return status;
}

static std::string Number(long number)
{
    return number < 0 ? "unknown" : std::to_string(number);
}

static std::string BatchText(const StatusReport &status)
{
    const BatchProgress &batch = status.batch;
    if (!batch.exists)
        return "none";
    std::string of = Number(batch.line_count);
    if (status.pid == 0)
        return "interrupted, " + of + " lines; it starts over when the daemon does";
    if (batch.line_max == 0)
        return "in progress, " + of + " lines";
    std::string first = std::to_string(batch.line_min), last = std::to_string(batch.line_max);
    return "in progress, line " + (first == last ? first : "between " + first + " and " + last) + " of " + of;
}

static void TextPrint(const StatusReport &status, const Output &output)
{
    output.out << "daemon           "
               << (status.pid ? "running, pid " + std::to_string(status.pid) : std::string("not running"))
               << '\n'
               << "queue            " << Number(status.queue_lines) << " waiting\n"
               << "batch            " << BatchText(status) << '\n'
               << "watch            " << WatchStateText() << '\n';
    MissedChangesPrint(output);
    output.out << "rows\n";
    for (const StatusRowCount &count : status.counts) {
        std::string label = "  " + count.name;
        label.resize(16, ' ');
        output.out << label << ' ' << Number(count.rows) << '\n';
    }
}

static Json NumberJson(long number, long least)
{
    return number < least ? Json(nullptr) : Json(number);
}

static Json BatchJson(const BatchProgress &batch)
{
    if (!batch.exists)
        return nullptr;
    return {{"lines", NumberJson(batch.line_count, 0)},
            {"line_min", NumberJson(batch.line_min, 1)},
            {"line_max", NumberJson(batch.line_max, 1)}};
}

static void JsonPrint(const StatusReport &status, const Output &output)
{
    Json object;
    object["daemon"] = {{"running", status.pid != 0}, {"pid", NumberJson(status.pid, 1)}};
    object["queue"] = {{"lines", NumberJson(status.queue_lines, 0)}};
    object["batch"] = BatchJson(status.batch);
    object["missed"] = MissedChangesJson();
    object["watch"] = WatchStateJson();
    object["rows"] = Json::object();
    for (const StatusRowCount &count : status.counts)
        object["rows"][count.name] = NumberJson(count.rows, 0);
    output.out << JsonDump(object, output, 2) << '\n';
}

static int StatusRun(bool as_json, const Output &output)
{
    StatusReport status = StatusRead();
    as_json ? JsonPrint(status, output) : TextPrint(status, output);
    for (const StatusRowCount &count : status.counts) {
        if (count.rows < 0)
            return Complain(output, "a database cannot be read; the system log says why");
    }
    return TOOL_OK;
}

void StatusCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("status", "Show what the daemon does and how much is indexed.");
    command->footer("Which line a batch is at can be seen by root and only roughly: the daemon reads its work "
                    "file in blocks.");
    CLI::Option *json = JsonOptionDefine(*command);
    CLI::Option *follow = command->add_flag("-f,--follow")
                              ->description("show the progress of the work, until nothing is left to do")
                              ->excludes(json);
    CLI::Option *keep =
        command->add_flag("-k,--keep")->description("with --follow: go on when nothing is left to do");
    CLI::Option *quiet = command->add_flag("-q,--quiet")->description("with --follow: wait without a word");
    keep->needs(follow);
    quiet->needs(follow);
    command->callback([&chosen, json, follow, keep, quiet] {
        if (follow->count() > 0) {
            FollowWish wish = {quiet->count() > 0, keep->count() > 0, nullptr};
            chosen = [wish](const Output &output) { return Follow(wish, output); };
            return;
        }
        chosen = [as_json = json->count() > 0](const Output &output) { return StatusRun(as_json, output); };
    });
}
