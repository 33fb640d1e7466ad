// Splits lines of settings files. There are no escapes and no continued lines.
#include "nlib/settings_line.h"

#include <string.h>

#include "nlib/exported.h"

static char *Unquoted(char *value)
{
    if (*value != '"')
        return value;
    char *end = strchr(value + 1, '"');
    if (!end)
        return value;  // a lone quote is part of the value
    *end = '\0';
    return value + 1;
}

bool SettingLineSplit(char *line, char **key, char **value)
{
    StringTrim(line);
    char *equals = strchr(line, '=');
    if (line[0] == '#' || !equals)
        return false;

    *equals = '\0';
    StringTrim(line);
    StringTrim(equals + 1);
    *key = line;
    *value = Unquoted(equals + 1);
    return **key != '\0';
}
