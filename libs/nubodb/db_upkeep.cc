// What is done to a database as a whole: made and brought up to date, examined, cleaned, chosen among several boxes.
#include "nlib/config.h"
#include "nubodb/db_connection.h"
#include "nubodb/schema.h"

static std::string SetUpReport(const NuboDbConnection &connection)
{
    int newest = SchemaNewestVersion(connection.driver->name, connection.name);
    std::string version = "schema version " + std::to_string(newest);
    if (connection.version_found == newest)
        return "is up to date, " + version;
    if (connection.version_found > 0)
        return "brought from schema version " + std::to_string(connection.version_found) + " to " + version;
    return "made, " + version;
}

int DbSetUp(DbName name, std::string *report)
{
    NuboDbConnection *connection = &connections[name];
    ConnectionClose(connection);
    int result = ConnectionOpenOnce(connection, true);
    *report = result == 0 ? SetUpReport(*connection) : connection->error;
    return result;
}

std::string DbSchemaText(DbName name)
{
    const NuboDbConnection &connection = connections[name];
    if (!connection.driver)
        return "";
    return std::string(connection.driver->name) + ", schema version " +
           std::to_string(SchemaNewestVersion(connection.driver->name, name));
}

static DbFault OpenFault(const NuboDbConnection &connection)
{
    if (!connection.driver)
        return DB_MISCONFIGURED;
    if (connection.unreachable)
        return DB_UNREACHABLE;
    int newest = SchemaNewestVersion(connection.driver->name, connection.name);
    return connection.version_found > newest ? DB_TOO_NEW : DB_UNOPENABLE;
}

// A statement that could change rows and finds none.
static bool IsWritable(NuboDbConnection *connection)
{
    static const char *const NO_CHANGES[] = {"delete from music where 1 = 0",
                                             "delete from photo_share where 1 = 0"};
    bool is_writable = DbBegin(connection) == 0;
    is_writable = is_writable && DbRun(connection, NO_CHANGES[connection->name]) == 0;
    DbRollback(connection);
    return is_writable;
}

DbFault DbExamine(DbName name, std::string *reason)
{
    NuboDbConnection *connection = &connections[name];
    ConnectionClose(connection);
    connection->version_found = 0;
    DbFault fault = DB_SOUND;
    if (ConnectionOpenOnce(connection, false) < 0)
        fault = OpenFault(*connection);
    else if (!IsWritable(connection))
        fault = DB_UNWRITABLE;
    *reason = fault == DB_SOUND ? "" : connection->error;
    return fault;
}

static std::string other_box;

const char *DbOtherBox()
{
    return other_box.empty() ? nullptr : other_box.c_str();
}

void DbBoxSelect(const std::string &box)
{
    DbClose();
    other_box = box == PlatformSetting("box") ? "" : box;
}

int DbBoxes(std::vector<std::string> *boxes)
{
    NuboDbConnection *connection = &connections[DB_MEDIA];
    ConnectionClose(connection);
    connection->driver = DriverConfigured(&connection->error);
    if (connection->driver && connection->driver->boxes(connection, boxes) == 0)
        return 0;
    ConnectionFailureLog(connection, "the boxes cannot be listed");
    return -1;
}

int DbVacuum(DbName name)
{
    NuboDbConnection *connection = DbOpen(name);
    if (!connection)
        return -1;
    return ConnectionOutcome(connection, connection->driver->vacuum(connection), "vacuum failed") < 0 ? -1 : 0;
}
