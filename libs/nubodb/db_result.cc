// Rows and fields of a result, for every engine.
#include "nubodb/db_result.h"

#include <strings.h>

#include "nubodb/database.h"

void DbResultAdd(NuboDbResult *result, const char *text, size_t length)
{
    result->fields.push_back(result->texts.size());
    result->texts.append(text, length);
    result->texts.push_back('\0');
}

void DbResultAddNull(NuboDbResult *result)
{
    result->fields.push_back(DB_NULL_FIELD);
}

int DbRowCount(const NuboDbResult *result)
{
    return result ? result->rows : 0;
}

int NUBODBFetchRow(NuboDbResult *result, int *row)
{
    if (!result || result->next >= result->rows)
        return -1;
    int current = result->next++;
    if (row)
        *row = current;
    return 0;
}

static size_t ColumnFind(const NuboDbResult *result, const char *column)
{
    size_t index = 0;
    while (index < result->columns.size() && strcasecmp(result->columns[index].c_str(), column) != 0)
        index++;
    return index;
}

const char *NUBODBFetchField(NuboDbResult *result, int row, const char *column)
{
    if (!result || !column || row < 0 || row >= result->rows)
        return nullptr;
    size_t index = ColumnFind(result, column);
    if (index == result->columns.size())
        return nullptr;
    size_t field = result->fields[static_cast<size_t>(row) * result->columns.size() + index];
    return field == DB_NULL_FIELD ? nullptr : result->texts.c_str() + field;
}

void NUBODBFreeResult(NuboDbResult *result)
{
    delete result;
}
