// The calls that programs outside make with statements of their own.
#include <string.h>

#include "nubodb/db_driver.h"

int NUBODBExecute(NuboDbConnection *connection, const char *sql, NuboDbResult **result)
{
    return DbExecute(connection, sql, result) < 0 ? -1 : 0;
}

const char *NUBODBErrorGet(NuboDbConnection *connection)
{
    return connection ? connection->error.c_str() : "no connection";
}

int NUBODBEscapeString(char *dst, const char *src, int length)
{
    std::string reason;
    const DbDriver *driver = DriverConfigured(&reason);
    if (!dst || !src || length < 0 || !driver)
        return -1;
    return driver->escape(dst, src, strnlen(src, static_cast<size_t>(length)));
}

int NUBODBEscapeBackslash(char *dst, int size, const char *src)
{
    if (!dst || !src || size < 1)
        return -1;
    size_t left = static_cast<size_t>(size) - 1;
    for (; *src; src++) {
        size_t needed = *src == '\\' ? 2 : 1;
        if (needed > left)
            return -1;
        if (needed == 2)
            *dst++ = '\\';
        *dst++ = *src;
        left -= needed;
    }
    *dst = '\0';
    return 0;
}
