// Conditions are composed from what every engine has to understand anyway; a pattern may match more than the folder,
// so the paths are looked at once more here, and so is their order.
#include "sync/index_rows.h"

#include <stdlib.h>

#include <algorithm>

#include "paths_below.h"
#include "platform/media_index.h"

static constexpr int GALLERY_TABLE = 0;
static constexpr char FILE_COLUMNS[] = "path, filesize, create_time, modify_time";

RowTable RowTableOfKind(int kind)
{
    switch (kind) {
    case MEDIA_KIND_MUSIC:
        return ROWS_MUSIC;
    case MEDIA_KIND_VIDEO:
        return ROWS_VIDEO;
    case MEDIA_KIND_PHOTO:
        return ROWS_PHOTO;
    default:
        return ROWS_PLAYLIST;
    }
}

std::string SqlLiteralOf(const std::string &text)
{
    std::vector<char> literal(2 * text.size() + 1);
    if (NUBODBEscapeString(literal.data(), text.c_str(), static_cast<int>(text.size())) < 0)
        return "";
    return literal.data();
}

std::string SqlPatternOf(const std::string &text)
{
    std::string literal = SqlLiteralOf(text);
    std::vector<char> pattern(3 * literal.size() + 1);
    if (NUBODBEscapeBackslash(pattern.data(), static_cast<int>(pattern.size()), literal.c_str()) < 0)
        return "";
    return pattern.data();
}

static NuboDbHandle *TableOpen(RowTable table, const char *condition)
{
    static constexpr int kinds[] = {MEDIA_KIND_MUSIC, MEDIA_KIND_VIDEO, MEDIA_KIND_PHOTO, MEDIA_KIND_PLAYLIST};
    switch (table) {
    case ROWS_GALLERY:
        return PhotoInfoDBOpen(GALLERY_TABLE, "path, filesize, create_time", condition, 0, "path", 0, 0);
    case ROWS_DIRECTORY:
        return MediaInfoDBOpen(MEDIA_KIND_SUBTREE, "path", condition, 0, "path", 0, 0, 0);
    default:
        return MediaInfoDBOpen(kinds[table], FILE_COLUMNS, condition, 0, "path", 0, 0, 0);
    }
}

static std::string_view FieldText(const NuboDbHandle *query, const char *column)
{
    const char *text = NUBODBFetchField(query->result, query->row, column);
    return text ? text : "";
}

static void RowsTake(NuboDbHandle *query, RowTable table, const std::string &folder, RowSet &set)
{
    bool has_size = table != ROWS_DIRECTORY, has_modified = has_size && table != ROWS_GALLERY;
    set.rows.reserve(set.rows.size() + static_cast<size_t>(query->row_count));
    while (NUBODBFetchRow(query->result, &query->row) == 0) {
        IndexRow row = {FieldText(query, "path"), {}, {}, 0, false};
        if (!IsAtOrBelow(row.path, folder))
            continue;
        if (has_size) {
            row.size = strtoull(FieldText(query, "filesize").data(), nullptr, 10);
            row.changed = FieldText(query, "create_time");
        }
        if (has_modified)
            row.modified = FieldText(query, "modify_time");
        set.rows.push_back(row);
    }
}

static bool FolderRead(IndexRows &rows, RowTable table, const std::string &folder)
{
    std::string name = WithoutSlash(folder);
    std::string condition = "path = '" + SqlLiteralOf(name) + "' or path like '" + SqlPatternOf(name) + "/%'";
    Query query(TableOpen(table, condition.c_str()));
    if (!query)
        return false;
    RowsTake(query.get(), table, name, rows.tables[table]);
    rows.queries.push_back(std::move(query));
    return true;
}

static void SetFinish(RowSet &set)
{
    auto before = [](const IndexRow &a, const IndexRow &b) { return a.path < b.path; };
    if (!std::is_sorted(set.rows.begin(), set.rows.end(), before))
        std::sort(set.rows.begin(), set.rows.end(), before);
    set.by_path.reserve(set.rows.size());
    for (IndexRow &row : set.rows)
        set.by_path[row.path] = &row;
}

bool IndexRowsRead(const std::vector<std::string> &folders, bool with_gallery, IndexRows &rows)
{
    for (int i = 0; i < (with_gallery ? ROW_TABLES : ROWS_GALLERY); i++) {
        auto table = static_cast<RowTable>(i);
        for (const std::string &folder : folders) {
            if (!FolderRead(rows, table, folder))
                return false;
        }
        SetFinish(rows.tables[table]);
    }
    return true;
}

IndexRow *RowFind(IndexRows &rows, RowTable table, std::string_view path)
{
    const auto &by_path = rows.tables[table].by_path;
    auto found = by_path.find(path);
    return found == by_path.end() ? nullptr : found->second;
}

std::span<IndexRow> RowsBelow(IndexRows &rows, RowTable table, const std::string &folder)
{
    std::string name = WithoutSlash(folder);
    std::string first = name + '/', end = name + '0';  // "0" is the byte behind "/"
    auto before = [](const IndexRow &row, const std::string &path) { return row.path < path; };
    auto &all = rows.tables[table].rows;
    auto from = std::lower_bound(all.begin(), all.end(), first, before);
    return {from, std::lower_bound(from, all.end(), end, before)};
}

bool HasRows(IndexRows &rows, const std::string &folder)
{
    for (int i = 0; i < ROW_TABLES; i++) {
        auto table = static_cast<RowTable>(i);
        if (RowFind(rows, table, folder) || !RowsBelow(rows, table, folder).empty())
            return true;
    }
    return false;
}

bool AllRowsUnseen(IndexRows &rows, const std::string &folder)
{
    bool found = false;
    for (int i = 0; i < ROW_TABLES; i++) {
        std::span<IndexRow> below = RowsBelow(rows, static_cast<RowTable>(i), folder);
        if (std::any_of(below.begin(), below.end(), [](const IndexRow &row) { return row.is_seen; }))
            return false;
        found = found || !below.empty();
    }
    return found;
}
