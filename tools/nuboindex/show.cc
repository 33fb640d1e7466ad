// nuboindex show: everything that is known about one file or folder.
#include <algorithm>
#include <filesystem>

#include "command.h"
#include "index_path_of.h"
#include "json_text.h"
#include "media_fields.h"
#include "media_rows.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "printable.h"

namespace fs = std::filesystem;

struct Covers {
    std::string folder;  // empty: none
    std::vector<fs::path> files;
};

// Asking for the folder makes it, so only rows that have covers are asked.
static Covers CoversOf(const MediaRow &row)
{
    char folder[4096];
    if (atol(row("cover_count").c_str()) < 1 || !GetCoverFolder(row("path").c_str(), folder, sizeof folder))
        return {};
    Covers covers = {folder, {}};
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        covers.files.push_back(entry->path());
    std::sort(covers.files.begin(), covers.files.end());
    return covers;
}

static void LinePrint(const Output &output, std::string_view label, const std::string &text)
{
    static constexpr size_t LABEL_WIDTH = 19;
    output.out << "  " << label << std::string(LABEL_WIDTH - label.size(), ' ') << PrintableText(text) << '\n';
}

// What the photo gallery shows: the texts that users gave, in a database of its own.
struct GalleryTexts {
    std::string title;
    std::string description;
};

// A text keeps the line feed of the description file that it came in.
static std::string WithoutLineFeed(std::string text)
{
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}

static GalleryTexts GalleryTextsOf(const std::string &kind, const std::string &path)
{
    static constexpr int TABLE_PHOTO = 0;
    GalleryTexts texts;
    if (kind == "photo")
        (void)RowsVisit(PhotoInfoDBOpen(TABLE_PHOTO, "*", PathCondition(path).c_str(), 0, nullptr, 0, 0),
                        [&texts](const MediaRow &row) {
                            texts = {WithoutLineFeed(row("title")), WithoutLineFeed(row("description"))};
                        });
    return texts;
}

static void TextPrint(const char *kind, const MediaRow &row, const Output &output)
{
    output.out << PrintableText(row("path")) << '\n';
    LinePrint(output, "kind", kind);
    for (const MediaField &field : MEDIA_FIELDS) {
        std::string value = row(field.column);
        std::string text = value.empty() ? "" : field.text(value);
        if (!text.empty())
            LinePrint(output, field.column, text);
    }
    GalleryTexts gallery = GalleryTextsOf(kind, row("path"));
    if (!gallery.title.empty())
        LinePrint(output, "gallery_title", gallery.title);
    if (!gallery.description.empty())
        LinePrint(output, "gallery_text", gallery.description);
    Covers covers = CoversOf(row);
    if (!covers.folder.empty())
        LinePrint(output, "cover_folder", covers.folder);
    for (const fs::path &file : covers.files)
        LinePrint(output, "cover", file.filename().string());
}

static void JsonPrint(const char *kind, const MediaRow &row, const Output &output)
{
    Json object = RowJson(kind, row);
    GalleryTexts gallery = GalleryTextsOf(kind, row("path"));
    if (!gallery.title.empty())
        JsonTextSet(object, "gallery_title", gallery.title);
    if (!gallery.description.empty())
        JsonTextSet(object, "gallery_text", gallery.description);
    Covers covers = CoversOf(row);
    if (!covers.folder.empty()) {
        JsonTextSet(object, "cover_folder", covers.folder);
        object["covers"] = Json::array();
        for (const fs::path &file : covers.files)
            object["covers"].push_back(file.filename().string());
    }
    output.out << JsonDump(object, output, 2) << '\n';
}

static int ShowRun(const std::string &given, bool as_json, const Output &output)
{
    std::string reason;
    std::optional<std::string> path = IndexPathOf(given, reason);
    if (!path)
        return Complain(output, "cannot show '" + given + "': " + reason);
    bool found = false;
    for (const MediaKindName &kind : MEDIA_KINDS) {
        bool read = MediaRowsVisit(kind.kind, PathCondition(*path), [&](const MediaRow &row) {
            found = true;
            as_json ? JsonPrint(kind.name, row, output) : TextPrint(kind.name, row, output);
        });
        if (!read)
            return Complain(output, MEDIA_DATABASE_UNREADABLE);
    }
    return found ? TOOL_OK : Complain(output, "'" + *path + "' is not in the index");
}

void ShowCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("show", "Show everything that is known about one file or folder.");
    CLI::Option *path =
        command->add_option("PATH")->description("a file or folder; it need not exist")->required();
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, path, json] {
        chosen = [path, as_json = json->count() > 0](const Output &output) {
            return ShowRun(path->results().front(), as_json, output);
        };
    });
}
