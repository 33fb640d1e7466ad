// Which engine the settings ask for.
#include "nubodb/db_driver.h"

#include <string.h>

#include "nlib/config.h"

const DbDriver *DriverConfigured(std::string *reason)
{
    if (const char *error = PlatformSettingsError()) {
        *reason = error;
        return nullptr;
    }
    std::string engine = PlatformSetting("database");
    if (engine == DB_SQLITE.name)
        return &DB_SQLITE;
    if (engine.starts_with("postgresql://") || engine.starts_with("postgres://") ||
        engine.find('=') != engine.npos)
        return &DB_POSTGRESQL;
    *reason = "no such engine: " + engine;
    return nullptr;
}

std::string StatementHead(const char *sql)
{
    static constexpr size_t SHOWN = 80;
    return strlen(sql) > SHOWN ? std::string(sql, SHOWN) + "..." : sql;
}
