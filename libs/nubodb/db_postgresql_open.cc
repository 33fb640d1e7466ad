// Connecting to PostgreSQL: where to, how, and into which schema.
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "nlib/config.h"
#include "nubodb/db_postgresql.h"
#include "nubodb/schema.h"

static constexpr size_t BOX_NAME_MAX = 50;
static const char *const SCHEMA_ENDS[] = {"_media", "_photo"};

// What every connection is to be like. Rows are committed without a flush each, see the sync; nobody's lock is
// waited for longer than three seconds; no statement here is worth compiling.
static constexpr char SETTINGS[] = "set synchronous_commit = off;"
                                   "set lock_timeout = '3s';"
                                   "set jit = off;"
                                   "set bytea_output = 'hex';"
                                   "set standard_conforming_strings = on;"
                                   "set extra_float_digits = 1;"
                                   "set client_min_messages = warning;"
                                   "set search_path to ";

// Before what the connection string says, so that it may say otherwise; and behind it. A server that vanished
// from the network is missed after some ten seconds.
static const char *const KEYWORDS[] = {
    "connect_timeout",  "keepalives_idle",           "keepalives_interval",
    "keepalives_count", "tcp_user_timeout",          "dbname",
    "client_encoding",  "fallback_application_name", nullptr,
};

static std::string BoxName()
{
    const char *other = DbOtherBox();
    return other ? other : PlatformSetting("box");
}

std::string PostgresqlSchemaName(DbName name)
{
    return BoxName() + SCHEMA_ENDS[name];
}

static int Refuse(NuboDbConnection *connection, const std::string &reason)
{
    connection->error = reason;
    connection->unreachable = false;
    return -1;
}

// A box's name is part of a schema's name: lower case, so that it needs no quotes anywhere.
static int BoxNameCheck(NuboDbConnection *connection)
{
    std::string box = BoxName();
    bool is_good = !box.empty() && box.size() <= BOX_NAME_MAX && box[0] >= 'a' && box[0] <= 'z' &&
                   box.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == box.npos;
    return is_good ? 0
                   : Refuse(connection, "box = " + box +
                                            ": a box's name is up to 50 lower-case letters, digits and "
                                            "underscores and begins with a letter");
}

static bool IsReadableByAll(const char *file)
{
    struct stat status;
    return stat(file, &status) == 0 && (status.st_mode & S_IROTH);
}

static bool IsSecret(const char *keyword)
{
    return !strcmp(keyword, "password") || !strcmp(keyword, "sslpassword");
}

// Understood, and without a password that everybody can read?
static int ConnectionStringCheck(NuboDbConnection *connection, const char *text)
{
    char *message = nullptr;
    PQconninfoOption *options = PQconninfoParse(text, &message);
    if (!options) {
        std::string reason = message ? message : "no memory";
        PQfreemem(message);
        return Refuse(connection,
                      "the connection string is not understood: " + reason.substr(0, reason.find('\n')));
    }
    bool has_password = false;
    for (const PQconninfoOption *option = options; option->keyword; option++)
        has_password = has_password || (IsSecret(option->keyword) && option->val && *option->val);
    PQconninfoFree(options);
    const char *file = PlatformSettingsFile();
    if (has_password && IsReadableByAll(file))
        return Refuse(connection, std::string("everybody can read the password in ") + file +
                                      ": make the file's mode 0600, or keep the password in a file of its "
                                      "own and name that with passfile=");
    return 0;
}

static PGconn *Connect(const char *target)
{
    const char *const values[] = {"5", "5", "2", "3", "10000", target, "UTF8", "nuboindex", nullptr};
    return PQconnectdbParams(KEYWORDS, values, 1);
}

static void Silent(void *, const PGresult *)
{
}

static int EncodingCheck(NuboDbConnection *connection, PGconn *link)
{
    const char *encoding = PQparameterStatus(link, "server_encoding");
    if (encoding && !strcmp(encoding, "UTF8"))
        return 0;
    return Refuse(connection, std::string("the database ") + PQdb(link) + " keeps texts as " +
                                  (encoding ? encoding : "something unknown") + ", and UTF8 is needed");
}

// Settings and schema of a link that has just been made.
static int LinkPrepare(NuboDbConnection *connection)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    if (EncodingCheck(connection, engine->link) < 0)
        return -1;
    std::string settings = SETTINGS + PostgresqlSchemaName(connection->name);
    if (DbOtherBox())
        settings += "; set default_transaction_read_only = on";
    PGresult *result = PostgresqlPlainRun(connection, settings.c_str());
    if (!result) {
        connection->unreachable = engine->broken;
        return -1;
    }
    PQclear(result);
    return PostgresqlSchemaUpdate(connection);
}

static int LinkOpen(NuboDbConnection *connection)
{
    const char *target = PlatformSetting("database");
    if (BoxNameCheck(connection) < 0 || ConnectionStringCheck(connection, target) < 0)
        return -1;
    // What a process before this one wrote may not be durable yet.
    connection->engine = new PostgresqlEngine{Connect(target), {}, {}, 0, false, true, false, false, false};
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    PQsetNoticeReceiver(engine->link, Silent, nullptr);
    if (PQstatus(engine->link) == CONNECTION_OK)
        return 0;
    (void)PostgresqlFail(connection, "no connection", nullptr);
    connection->unreachable = true;
    PostgresqlClose(connection);
    return -1;
}

int PostgresqlOpen(NuboDbConnection *connection)
{
    if (LinkOpen(connection) < 0)
        return -1;
    int result = LinkPrepare(connection);
    if (result < 0)
        PostgresqlClose(connection);
    return result;
}

void PostgresqlClose(NuboDbConnection *connection)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    PQfinish(engine->link);
    delete engine;
    connection->engine = nullptr;
}

int PostgresqlBoxes(NuboDbConnection *connection, std::vector<std::string> *boxes)
{
    static constexpr char SQL[] =
        "select n.nspname from pg_catalog.pg_namespace n join pg_catalog.pg_class c on c.relnamespace = n.oid "
        "where n.nspname like '%\\_media' and c.relname = 'schema_version' order by n.nspname collate \"C\"";
    if (LinkOpen(connection) < 0)
        return -1;
    PGresult *result = PostgresqlPlainRun(connection, SQL);
    for (int i = 0; result && i < PQntuples(result); i++) {
        std::string schema = PQgetvalue(result, i, 0);
        boxes->push_back(schema.substr(0, schema.rfind('_')));
    }
    PQclear(result);
    PostgresqlClose(connection);
    return result ? 0 : -1;
}

// --- set-up

static std::string TargetDatabase(const char *target)
{
    std::string name;
    PQconninfoOption *options = PQconninfoParse(target, nullptr);
    for (const PQconninfoOption *option = options; option && option->keyword; option++) {
        if (!strcmp(option->keyword, "dbname") && option->val)
            name = option->val;
    }
    PQconninfoFree(options);
    return name;
}

static bool IsDatabaseThere(PGconn *link, const std::string &name)
{
    const char *values[] = {name.c_str()};
    PGresult *result = PQexecParams(link, "select 1 from pg_database where datname = $1", 1, nullptr, values,
                                    nullptr, nullptr, 0);
    bool there = PQresultStatus(result) == PGRES_TUPLES_OK && PQntuples(result) > 0;
    PQclear(result);
    return there;
}

// The same server with another database: a later value counts.
static PGconn *MaintenanceConnect(const char *target)
{
    static const char *const keywords[] = {"connect_timeout", "dbname", "dbname", nullptr};
    const char *const values[] = {"5", target, "postgres", nullptr};
    return PQconnectdbParams(keywords, values, 1);
}

// Makes the database that the connection string names, unless it is there. 0; -1 with the error set.
static int DatabaseMake(NuboDbConnection *connection, const char *target)
{
    std::string name = TargetDatabase(target);
    PGconn *link = MaintenanceConnect(target);
    int result = 0;
    if (PQstatus(link) != CONNECTION_OK) {
        connection->error = PQerrorMessage(link);
        result = -1;
    } else if (!name.empty() && !IsDatabaseThere(link, name)) {
        char *quoted = PQescapeIdentifier(link, name.c_str(), name.size());
        std::string sql = std::string("create database ") + (quoted ? quoted : "\"\"") +
                          " encoding 'UTF8' template template0";
        PQfreemem(quoted);
        PGresult *made = PQexec(link, sql.c_str());
        if (PQresultStatus(made) != PGRES_COMMAND_OK) {
            connection->error = PQresultErrorMessage(made);
            result = -1;
        }
        PQclear(made);
    }
    PQfinish(link);
    return result;
}

int PostgresqlSetUp(NuboDbConnection *connection)
{
    if (PostgresqlOpen(connection) == 0)
        return 0;
    if (!connection->unreachable)
        return -1;
    std::string reason = connection->error;
    if (DatabaseMake(connection, PlatformSetting("database")) < 0) {
        connection->error = reason + " (" + connection->error.substr(0, connection->error.find('\n')) + ")";
        return -1;
    }
    return PostgresqlOpen(connection);
}
