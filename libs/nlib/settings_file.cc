// Settings files of the appliance: the first line with a key decides.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "nlib/exported.h"
#include "nlib/settings_line.h"

static bool ValueRead(FILE *file, const char *wanted, std::string *value)
{
    char *line = nullptr;
    size_t capacity = 0;
    bool found = false;
    while (!found && getline(&line, &capacity, file) >= 0) {
        char *key = nullptr;
        char *text = nullptr;
        if (SettingLineSplit(line, &key, &text) && !strcmp(key, wanted)) {
            *value = text;
            found = true;
        }
    }
    free(line);
    return found;
}

static bool ValueFind(const char *path, const char *key, std::string *value)
{
    FILE *file = path && key ? fopen(path, "re") : nullptr;
    if (!file)
        return false;
    bool found = ValueRead(file, key, value);
    fclose(file);
    return found;
}

int NLIBFileGetKeyValue(const char *file, const char *key, char *out, int size, int flags)
{
    (void)flags;
    if (!out || size <= 0)
        return -1;
    out[0] = '\0';
    std::string value;
    if (!ValueFind(file, key, &value))
        return -1;
    size_t length = value.copy(out, static_cast<size_t>(size) - 1);
    out[length] = '\0';
    return static_cast<int>(length);
}

int BlNUBOFileCheckKeyValue(const char *file, const char *key, const char *value, int flags)
{
    (void)flags;
    std::string found;
    return value && ValueFind(file, key, &found) && found == value;
}
