// nuboindex list: the rows of one kind.
#include "albums.h"
#include "boxes.h"
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

static bool TablePrint(const MediaKindName &kind, bool all_boxes, const Output &output)
{
    std::vector<ListColumn> columns = ColumnsFor(kind.name);
    std::vector<TableColumn> heads;
    if (all_boxes)
        heads.push_back({"BOX", false});
    for (const ListColumn &column : columns)
        heads.push_back(column.head);
    TextTable table(output, heads);
    bool read = BoxesRead(all_boxes, output, [&](const std::string &box) {
        return MediaRowsVisit(kind.kind, "", [&](const MediaRow &row) {
            std::vector<std::string> cells;
            if (all_boxes)
                cells.push_back(box);
            for (const ListColumn &column : columns)
                cells.push_back(column.text(row));
            table.Add(cells);
        });
    });
    table.Print();
    return read;
}

// An array with one row a line, so that a large list is never held as a whole.
static bool JsonPrint(const MediaKindName &kind, bool all_boxes, const Output &output)
{
    const char *between = "[\n";
    bool read = BoxesRead(all_boxes, output, [&](const std::string &box) {
        return MediaRowsVisit(kind.kind, "", [&](const MediaRow &row) {
            Json object = RowJson(kind.name, row);
            if (all_boxes)
                object["box"] = box;
            output.out << between << JsonDump(object, output, -1);
            between = ",\n";
        });
    });
    if (between[0] != '[')
        output.out << "\n]\n";
    else if (read || all_boxes)
        output.out << "[]\n";
    return read;
}

static int ListRun(const std::string &name, bool all_boxes, bool as_json, const Output &output)
{
    if (name == "albums")
        return AlbumsPrint(all_boxes, as_json, output) ? TOOL_OK : Complain(output, PHOTO_DATABASE_UNREADABLE);
    for (const MediaKindName &kind : MEDIA_KINDS) {
        if (name != kind.name)
            continue;
        if (as_json ? JsonPrint(kind, all_boxes, output) : TablePrint(kind, all_boxes, output))
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
    CLI::Option *all_boxes =
        command->add_flag("--all-boxes")
            ->description("the rows of all boxes on the same server, each with its box's name");
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, kind, all_boxes, json] {
        chosen = [kind, all = all_boxes->count() > 0, as_json = json->count() > 0](const Output &output) {
            return ListRun(kind->results().front(), all, as_json, output);
        };
    });
}
