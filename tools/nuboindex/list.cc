// nuboindex list: the rows of one kind.
#include <time.h>

#include "albums.h"
#include "boxes.h"
#include "command.h"
#include "list_form.h"
#include "list_rows.h"
#include "media_fields.h"
#include "printable.h"
#include "sync/file_time.h"

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

struct ListWords {
    std::string kind;
    ListSelect select;
    bool all_boxes;
    ListForm form;
};

static bool TablePrint(const MediaKindName &kind, const ListWords &words, const Output &output)
{
    std::vector<ListColumn> columns = ColumnsFor(kind.name);
    std::vector<TableColumn> heads;
    if (words.all_boxes)
        heads.push_back({"BOX", false});
    for (const ListColumn &column : columns)
        heads.push_back(column.head);
    TextTable table(output, heads, TextFormOf(words.form));
    bool read = BoxesRead(words.all_boxes, output, [&](const std::string &box) {
        return ListRowsVisit(kind.kind, words.select, [&](const MediaRow &row) {
            std::vector<std::string> cells;
            if (words.all_boxes)
                cells.push_back(box);
            for (const ListColumn &column : columns)
                cells.push_back(column.text(row));
            table.Add(cells);
        });
    });
    table.Print();
    return read;
}

static bool JsonPrint(const MediaKindName &kind, const ListWords &words, const Output &output)
{
    JsonRows rows(output, words.form);
    bool read = BoxesRead(words.all_boxes, output, [&](const std::string &box) {
        return ListRowsVisit(kind.kind, words.select, [&](const MediaRow &row) {
            Json object = RowJson(kind.name, row);
            if (words.all_boxes)
                object["box"] = box;
            rows.Add(object);
        });
    });
    if (read || words.all_boxes)
        rows.Finish();
    return read;
}

static int ListRun(const ListWords &words, const Output &output)
{
    if (words.kind == "albums")
        return AlbumsPrint(words.all_boxes, words.form, output) ? TOOL_OK
                                                                : Complain(output, PHOTO_DATABASE_UNREADABLE);
    bool is_text = words.form == LIST_TABLE || words.form == LIST_CSV;
    for (const MediaKindName &kind : MEDIA_KINDS) {
        if (words.kind != kind.name)
            continue;
        if (is_text ? TablePrint(kind, words, output) : JsonPrint(kind, words, output))
            return TOOL_OK;
    }
    return Complain(output, MEDIA_DATABASE_UNREADABLE);
}

struct SelectOptions {
    CLI::Option *artist, *album, *since, *sort, *reverse;
};

static SelectOptions SelectDefine(CLI::App *command)
{
    SelectOptions options;
    options.artist = command->add_option("--artist")->description("whose artist contains this text");
    options.album = command->add_option("--album")->description("whose album contains this text");
    options.since = command->add_option("--since")->description(
        "whose file came or changed since: 2026-11-20, '2026-11-20 18:30', today, yesterday, 90m, 12h, 3d, 2w");
    options.sort = command->add_option("--sort")->description("path, title, artist, album, year, time, size, "
                                                              "taken or changed");
    options.sort->check(CLI::IsMember(LIST_SORTS));
    options.reverse = command->add_flag("-r,--reverse")->description("the other way round");
    return options;
}

static std::string OptionText(const CLI::Option *option)
{
    return option->count() > 0 ? TextArgument(*option) : "";
}

// Folders and albums have none of the columns.
static void SelectionCheck(const std::string &kind, const SelectOptions &options)
{
    for (const CLI::Option *option :
         {options.artist, options.album, options.since, options.sort, options.reverse}) {
        bool is_order = option == options.sort || option == options.reverse;
        if (option->count() > 0 && (kind == "albums" || (kind == "directory" && !is_order)))
            throw CLI::ValidationError(option->get_name(), "not for " + kind);
    }
}

static ListSelect SelectRead(const std::string &kind, const SelectOptions &options)
{
    SelectionCheck(kind, options);
    ListSelect select = {OptionText(options.artist), OptionText(options.album), OptionText(options.since),
                         OptionText(options.sort), options.reverse->count() > 0};
    if (options.since->count() > 0) {
        DaemonTimeZone zone;
        select.since = ListSince(select.since, time(nullptr));
        if (select.since.empty())
            throw CLI::ValidationError("--since", "no time: " + PrintableText(OptionText(options.since)));
    }
    return select;
}

void ListCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("list", "Show the rows of a kind, ordered by path, or all albums.");
    command->footer("On a terminal a table that fits it; elsewhere comma-separated values, a row a line.");
    CLI::Option *kind =
        command->add_option("KIND")->description("music, video, photo, playlist, directory or albums");
    kind->required()->check(CLI::IsMember({"music", "video", "photo", "playlist", "directory", "albums"}));
    SelectOptions select = SelectDefine(command);
    CLI::Option *all_boxes =
        command->add_flag("--all-boxes")
            ->description("the rows of all boxes on the same server, each with its box's name");
    ListFormOptions form = ListFormDefine(*command);
    command->callback([&chosen, kind, select, all_boxes, form] {
        const std::string &name = kind->results().front();
        ListWords words = {name, SelectRead(name, select), all_boxes->count() > 0, LIST_TABLE};
        chosen = [words, form](const Output &output) mutable {
            words.form = ListFormChosen(form, output);
            return ListRun(words, output);
        };
    });
}
