// The databases through the engines' own interfaces.
#include "system/rows.h"

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

static constexpr char DATABASE[] = "/var/lib/nubo/media.db";
static constexpr char PHOTO_DATABASE[] = "/var/lib/nubo/photo.db";

static std::string ColumnText(sqlite3_stmt *statement, int column)
{
    const void *bytes = sqlite3_column_blob(statement, column);
    int size = sqlite3_column_bytes(statement, column);
    return bytes ? std::string(static_cast<const char *>(bytes), static_cast<size_t>(size)) : std::string();
}

static std::vector<Row> SqliteQuery(const char *file, const std::string &sql, const std::string &parameter)
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

// The server's address and the box's name, where the box keeps its databases on a server.
static std::string PlatformSetting(const std::string &key)
{
    std::ifstream file("/etc/nubo/platform.conf");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key + " = "))
            return line.substr(key.size() + 3);
    }
    return "";
}

// A field as the embedded engine would give it.
static std::string FieldText(const PGresult *result, int row, int column)
{
    static constexpr Oid BYTEA = 17, FLOAT8 = 701;
    std::string text = PQgetvalue(result, row, column);
    if (PQftype(result, column) == FLOAT8 && text.find('.') == text.npos)
        text += ".0";
    if (PQftype(result, column) != BYTEA)
        return text;
    size_t length = 0;
    unsigned char *bytes = PQunescapeBytea(reinterpret_cast<const unsigned char *>(text.c_str()), &length);
    std::string value(reinterpret_cast<const char *>(bytes), length);
    PQfreemem(bytes);
    return value;
}

static std::vector<Row> PostgresqlQuery(const std::string &database, const std::string &sql,
                                        const std::string &parameter)
{
    std::vector<Row> rows;
    PGconn *link = PQconnectdb(PlatformSetting("database").c_str());
    EXPECT_EQ(PQstatus(link), CONNECTION_OK) << PQerrorMessage(link);
    std::string schema = PlatformSetting("box") + database;
    PQclear(PQexec(link, ("set search_path to " + schema).c_str()));
    const char *values[] = {parameter.data()};
    int lengths[] = {static_cast<int>(parameter.size())};
    int formats[] = {1};
    int count = sql.find("$1") == sql.npos ? 0 : 1;
    PGresult *result = PQexecParams(link, sql.c_str(), count, nullptr, values, lengths, formats, 0);
    std::string message = PQresultErrorMessage(result);
    EXPECT_TRUE(message.empty() || message.find("does not exist") != message.npos) << sql << ": " << message;
    for (int i = 0; i < PQntuples(result); i++) {
        Row row;
        for (int column = 0; column < PQnfields(result); column++) {
            std::string name = PQfname(result, column);
            if (name != "path_head" && name != "path_tail")
                row[name] = FieldText(result, i, column);
        }
        rows.push_back(row);
    }
    PQclear(result);
    PQfinish(link);
    return rows;
}

static std::vector<Row> Query(const char *file, const std::string &sql, const std::string &parameter)
{
    if (PlatformSetting("database").empty())
        return SqliteQuery(file, sql, parameter);
    return PostgresqlQuery(file == std::string(DATABASE) ? "_media" : "_photo", sql, parameter);
}

std::vector<Row> Rows(const std::string &table)
{
    return Query(DATABASE, "select * from " + table + " order by path", "");
}

std::vector<Row> PhotoRows(const std::string &table, const std::string &column)
{
    return Query(PHOTO_DATABASE, "select * from " + table + " order by " + column, "");
}

Row RowOf(const std::string &table, const std::string &path)
{
    std::vector<Row> rows = Query(DATABASE, "select * from " + table + " where path = $1", path);
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

static constexpr char STATE[] = "/var/lib/nubo";
static constexpr char KEPT_STATE[] = "/var/lib/nubo.kept";

// Runs the statement for the schema of each database, "%" standing for its name.
static void SchemasChange(const std::string &statement)
{
    if (PlatformSetting("database").empty())
        return;
    PGconn *link = PQconnectdb(PlatformSetting("database").c_str());
    for (const char *end : {"_media", "_photo"}) {
        std::string sql = statement;
        for (size_t at; (at = sql.find('%')) != sql.npos;)
            sql.replace(at, 1, PlatformSetting("box") + end);
        PGresult *result = PQexec(link, sql.c_str());
        EXPECT_EQ(PQresultStatus(result), PGRES_COMMAND_OK) << sql << ": " << PQresultErrorMessage(result);
        PQclear(result);
    }
    PQfinish(link);
}

void DatabasesRemove()
{
    if (std::filesystem::exists(STATE)) {
        for (const auto &entry : std::filesystem::directory_iterator(STATE))
            std::filesystem::remove_all(entry);
    }
    SchemasChange("drop schema if exists % cascade");
}

void DatabasesSetAside()
{
    std::filesystem::rename(STATE, KEPT_STATE);
    SchemasChange("alter schema % rename to %_kept");
}

void DatabasesBringBack()
{
    DatabasesRemove();
    std::filesystem::rename(KEPT_STATE, STATE);
    SchemasChange("alter schema %_kept rename to %");
}
