// The schema of a box's database and its versions. Nothing is locked beyond the transaction that changes it, and the
// one row that says the version is what two processes meet at.
#include <string.h>
#include <unistd.h>

#include "nubodb/db_postgresql.h"
#include "nubodb/schema.h"

static constexpr int ATTEMPTS = 5;  // two processes may make the same schema at the same time
static constexpr useconds_t ATTEMPT_PAUSE_US = 100000;

static int PlainDo(NuboDbConnection *connection, const std::string &sql)
{
    PGresult *result = PostgresqlPlainRun(connection, sql.c_str());
    PQclear(result);
    return result ? 0 : -1;
}

// The version that the schema has; 0 when there is none, -1 on failure.
static int VersionRead(NuboDbConnection *connection, const char *sql)
{
    PGresult *result = PostgresqlPlainRun(connection, sql);
    int version = result ? 0 : -1;
    if (result && PQntuples(result) > 0)
        version = atoi(PQgetvalue(result, 0, 0));
    PQclear(result);
    return version;
}

static int VersionNow(NuboDbConnection *connection)
{
    std::string table = PostgresqlSchemaName(connection->name) + ".schema_version";
    std::string there =
        "select 1 from pg_catalog.pg_class c join pg_catalog.pg_namespace n on n.oid = c.relnamespace "
        "where n.nspname = '" +
        PostgresqlSchemaName(connection->name) + "' and c.relname = 'schema_version'";
    int found = VersionRead(connection, there.c_str());
    return found > 0 ? VersionRead(connection, ("select version from " + table).c_str()) : found;
}

// A schema that somebody made for the box is used as it is: making one takes a right that the box need not have.
static int SchemaMake(NuboDbConnection *connection)
{
    std::string schema = PostgresqlSchemaName(connection->name);
    std::string there = "select 1 from pg_catalog.pg_namespace where nspname = '" + schema + "'";
    int found = VersionRead(connection, there.c_str());
    return found != 0 ? found : PlainDo(connection, "create schema if not exists " + schema);
}

static int StepApply(NuboDbConnection *connection, const SchemaStep &step)
{
    std::string set_version = "update schema_version set version = " + std::to_string(step.version);
    if (PlainDo(connection, step.sql) == 0 && PlainDo(connection, set_version) == 0)
        return 0;
    connection->error = "version " + std::to_string(step.version) + ": " + connection->error;
    return -1;
}

static int StepsApply(NuboDbConnection *connection)
{
    if (PlainDo(connection, "begin") < 0 || SchemaMake(connection) < 0 ||
        PlainDo(connection, "create table if not exists schema_version (version integer not null, only_row "
                            "boolean primary key default true check (only_row))") < 0 ||
        PlainDo(connection, "insert into schema_version (version) values (0) on conflict do nothing") < 0)
        return -1;
    int version = VersionRead(connection, "select version from schema_version for update");
    if (version < 0)
        return -1;
    for (const SchemaStep &step : SchemaSteps()) {
        bool is_ours = !strcmp(step.engine, DB_POSTGRESQL.name) && step.database == connection->name;
        if (is_ours && step.version > version && StepApply(connection, step) < 0)
            return -1;
    }
    return PlainDo(connection, "commit");
}

int PostgresqlSchemaUpdate(NuboDbConnection *connection)
{
    const PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    int newest = SchemaNewestVersion(DB_POSTGRESQL.name, connection->name);
    for (int attempt = 0; attempt < ATTEMPTS; attempt++) {
        int version = VersionNow(connection);
        if (attempt == 0)
            connection->version_found = version;
        if (version == newest)
            return 0;
        if (version >= 0 &&
            SchemaVersionCheck(DB_POSTGRESQL.name, connection->name, version, &connection->error) < 0)
            return -1;
        if (version >= 0 && StepsApply(connection) == 0)
            return 0;
        std::string error = connection->error;
        bool is_back = !engine->broken && PlainDo(connection, "rollback") == 0;
        connection->error = "schema: " + error;
        if (!is_back) {
            connection->unreachable = true;
            return -1;
        }
        usleep(ATTEMPT_PAUSE_US);
    }
    return -1;
}
