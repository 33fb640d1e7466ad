// The databases through SQLite.
#include "system/rows.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

static constexpr char DATABASE[] = "/var/lib/nubo/media.db";
static constexpr char PHOTO_DATABASE[] = "/var/lib/nubo/photo.db";

static std::string ColumnText(sqlite3_stmt *statement, int column)
{
    const void *bytes = sqlite3_column_blob(statement, column);
    int size = sqlite3_column_bytes(statement, column);
    return bytes ? std::string(static_cast<const char *>(bytes), static_cast<size_t>(size)) : std::string();
}

static std::vector<Row> Query(const char *file, const std::string &sql, const std::string &parameter)
{
    std::vector<Row> rows;
    if (access(file, F_OK) != 0)
        return rows;
    sqlite3 *database = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file, &database, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    sqlite3_busy_timeout(database, 10000);
    sqlite3_stmt *statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(database);
    if (sqlite3_bind_parameter_count(statement) == 1)
        sqlite3_bind_text(statement, 1, parameter.data(), static_cast<int>(parameter.size()), SQLITE_TRANSIENT);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        Row row;
        for (int i = 0; i < sqlite3_column_count(statement); i++)
            row[sqlite3_column_name(statement, i)] = ColumnText(statement, i);
        rows.push_back(row);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return rows;
}

std::vector<Row> Rows(const std::string &table)
{
    return Query(DATABASE, "select * from " + table + " order by cast(path as blob)", "");
}

std::vector<Row> PhotoRows(const std::string &table, const std::string &column)
{
    return Query(PHOTO_DATABASE, "select * from " + table + " order by cast(" + column + " as blob)", "");
}

Row RowOf(const std::string &table, const std::string &path)
{
    std::vector<Row> rows = Query(DATABASE, "select * from " + table + " where path = ?1", path);
    EXPECT_LE(rows.size(), 1u);
    return rows.empty() ? Row() : rows[0];
}

std::vector<std::string> Paths(const std::string &table)
{
    std::vector<std::string> paths;
    for (const Row &row : Rows(table))
        paths.push_back(row.at("path"));
    return paths;
}

std::string MediaDump()
{
    std::string text;
    for (const char *table : {"music", "video", "photo", "playlist", "directory"}) {
        for (const Row &row : Rows(table)) {
            text += table;
            for (const auto &[column, value] : row)
                if (column != "id")
                    text += "|" + column + "=" + value;
            text += '\n';
        }
    }
    return text;
}
