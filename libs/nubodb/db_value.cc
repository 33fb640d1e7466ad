// Bound values, and the range of a folder.
#include <string.h>

#include "nubodb/database.h"

DbValue DbText(const char *text)
{
    return DbText(text, strlen(text));
}

DbValue DbText(const char *text, size_t length)
{
    return {DbValue::TEXT, text, length, 0, 0};
}

DbValue DbInteger(int64_t integer)
{
    return {DbValue::INTEGER, nullptr, 0, integer, 0};
}

DbValue DbReal(double real)
{
    return {DbValue::REAL, nullptr, 0, 0, real};
}

DbSubtree DbSubtreeOf(const char *folder)
{
    std::string name = folder;
    while (!name.empty() && name.back() == '/')
        name.pop_back();
    return {name, name + "/", name + "0"};  // "0" is the byte behind "/"
}
