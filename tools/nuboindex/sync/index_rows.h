// What the databases say: the rows of files and folders, read in one pass a table.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/photo_db.h"

enum RowTable {
    ROWS_MUSIC,
    ROWS_VIDEO,
    ROWS_PHOTO,
    ROWS_PLAYLIST,
    ROWS_DIRECTORY,  // folders: paths alone
    ROWS_GALLERY,  // the photo database's photos: without a modification time, the change time as ctime writes it
    ROW_TABLES,
};

// Texts are those of the database, and live as long as the rows they came with.
struct IndexRow {
    std::string_view path;
    std::string_view changed;
    std::string_view modified;
    uint64_t size;
    bool is_seen;  // for the comparison: the tree has it
};

// The rows of one table, in the order of their paths' bytes.
struct RowSet {
    std::vector<IndexRow> rows;
    std::unordered_map<std::string_view, IndexRow *> by_path;
};

struct QueryClose {
    void operator()(NuboDbHandle *query) const
    {
        PhotoInfoDBClose(query);
    }
};
using Query = std::unique_ptr<NuboDbHandle, QueryClose>;

struct IndexRows {
    RowSet tables[ROW_TABLES];
    std::vector<Query> queries;
};

// The table of a media kind.
RowTable RowTableOfKind(int kind);

// Reads the rows at and below the folders, none of which lies in another one. Without `with_gallery` the photo
// database is left alone. False: a database cannot be read.
bool IndexRowsRead(const std::vector<std::string> &folders, bool with_gallery, IndexRows &rows);

// Null when there is none.
IndexRow *RowFind(IndexRows &rows, RowTable table, std::string_view path);

// The rows below a folder, the folder's own not among them.
std::span<IndexRow> RowsBelow(IndexRows &rows, RowTable table, const std::string &folder);

// Has a folder a row of its own, or any below it?
bool HasRows(IndexRows &rows, const std::string &folder);

// Has a folder rows below it, of which the tree has shown none?
bool AllRowsUnseen(IndexRows &rows, const std::string &folder);

// A path as the inside of a literal, and that as the beginning of a `like` pattern, where "%" and "_" stay wildcards.
std::string SqlLiteralOf(const std::string &text);
std::string SqlPatternOf(const std::string &text);
