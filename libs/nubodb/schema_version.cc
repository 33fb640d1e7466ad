// Which versions of the schema there are.
#include <string.h>

#include "nubodb/db_driver.h"
#include "nubodb/schema.h"

int SchemaNewestVersion(const char *engine, DbName database)
{
    int newest = 0;
    for (const SchemaStep &step : SchemaSteps()) {
        if (!strcmp(step.engine, engine) && step.database == database && step.version > newest)
            newest = step.version;
    }
    return newest;
}

int SchemaVersionCheck(const char *engine, DbName database, int version, std::string *error)
{
    int newest = SchemaNewestVersion(engine, database);
    if (version == newest || (version < newest && !DbOtherBox()))
        return 0;
    if (version == 0)
        *error = "it is not there";
    else
        *error = "its schema has version " + std::to_string(version) + ", " +
                 (version > newest ? "newer" : "older") + " than " + std::to_string(newest) +
                 ", which this program knows";
    return -1;
}
