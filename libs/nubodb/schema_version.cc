// Which versions of the schema there are.
#include <string.h>

#include "nubodb/schema.h"

int SchemaNewestVersion(const char *engine, DbName database)
{
    int newest = 0;
    for (int i = 0; i < SCHEMA_STEP_COUNT; i++) {
        const SchemaStep &step = SCHEMA_STEPS[i];
        if (!strcmp(step.engine, engine) && step.database == database && step.version > newest)
            newest = step.version;
    }
    return newest;
}

int SchemaVersionCheck(const char *engine, DbName database, int version, std::string *error)
{
    int newest = SchemaNewestVersion(engine, database);
    if (version <= newest)
        return 0;
    *error = "its schema has version " + std::to_string(version) + ", newer than " + std::to_string(newest) +
             ", which this program knows";
    return -1;
}
