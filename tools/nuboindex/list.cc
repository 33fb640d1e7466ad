// nuboindex list: the rows of one kind.
#include "albums.h"
#include "command.h"
#include "json_text.h"
#include "media_fields.h"
#include "media_rows.h"
#include "text_table.h"

// A column of the table and where its text comes from.
struct ListColumn {
    TableColumn head;
    std::string (*text)(const MediaRow &row);
};

static std::string Title(const MediaRow &row)
{
    return row("title");
}
static std::string Artist(const MediaRow &row)
{
    return row("artist");
}
static std::string Album(const MediaRow &row)
{
    return row("album");
}
static std::string Time(const MediaRow &row)
{
    return DurationText(row("duration"));
}
static std::string AudioRate(const MediaRow &row)
{
    return KilobitText(row("bitrate"));
}
static std::string FileRate(const MediaRow &row)
{
    return KilobitText(row("container_bitrate"));
}
static std::string Taken(const MediaRow &row)
{
    return row("date_taken");
}
static std::string Camera(const MediaRow &row)
{
    return row("camera_model");
}
static std::string Path(const MediaRow &row)
{
    return row("path");
}

static std::vector<ListColumn> ColumnsFor(const std::string &kind)
{
    static const ListColumn title = {{"TITLE", false}, Title}, path = {{"PATH", false}, Path};
    static const ListColumn time = {{"TIME", true}, Time}, size = {{"SIZE", true}, ResolutionText};
    if (kind == "music")
        return {title, {{"ARTIST", false}, Artist},   {{"ALBUM", false}, Album},
                time,  {{"KBIT/S", true}, AudioRate}, path};
    if (kind == "video")
        return {title, time, size, {{"KBIT/S", true}, FileRate}, path};
    if (kind == "photo")
        return {title, {{"TAKEN", true}, Taken}, size, {{"CAMERA", false}, Camera}, path};
    if (kind == "playlist")
        return {title, path};
    return {path};
}

static bool TablePrint(const MediaKindName &kind, const Output &output)
{
    std::vector<ListColumn> columns = ColumnsFor(kind.name);
    std::vector<TableColumn> heads;
    for (const ListColumn &column : columns)
        heads.push_back(column.head);
    TextTable table(output, heads);
    bool read = MediaRowsVisit(kind.kind, "", [&](const MediaRow &row) {
        std::vector<std::string> cells;
        for (const ListColumn &column : columns)
            cells.push_back(column.text(row));
        table.Add(cells);
    });
    table.Print();
    return read;
}

// An array with one row a line, so that a large list is never held as a whole.
static bool JsonPrint(const MediaKindName &kind, const Output &output)
{
    const char *between = "[\n";
    bool read = MediaRowsVisit(kind.kind, "", [&](const MediaRow &row) {
        output.out << between << JsonDump(RowJson(kind.name, row), output, -1);
        between = ",\n";
    });
    if (read)
        output.out << (between[0] == '[' ? "[]\n" : "\n]\n");
    return read;
}

static int ListRun(const std::string &name, bool as_json, const Output &output)
{
    if (name == "albums")
        return AlbumsPrint(as_json, output) ? TOOL_OK : Complain(output, PHOTO_DATABASE_UNREADABLE);
    for (const MediaKindName &kind : MEDIA_KINDS) {
        if (name != kind.name)
            continue;
        if (as_json ? JsonPrint(kind, output) : TablePrint(kind, output))
            return TOOL_OK;
    }
    return Complain(output, MEDIA_DATABASE_UNREADABLE);
}

void ListCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("list", "Show all rows of a kind, ordered by path, or all albums.");
    command->footer("On a terminal a table that fits it; elsewhere whole lines, without headers, with a tab "
                    "between the columns.");
    CLI::Option *kind =
        command->add_option("KIND")->description("music, video, photo, playlist, directory or albums");
    kind->required()->check(CLI::IsMember({"music", "video", "photo", "playlist", "directory", "albums"}));
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, kind, json] {
        chosen = [kind, as_json = json->count() > 0](const Output &output) {
            return ListRun(kind->results().front(), as_json, output);
        };
    });
}
