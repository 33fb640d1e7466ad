// The settings of the open libraries. The file is read once, at the first question.
#include "nlib/config.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <string>

#include "nlib/settings_line.h"

static constexpr char PLATFORM_CONF[] = "/etc/nubo/platform.conf";

struct Setting {
    const char *key;
    const char *standard;
    bool is_path;       // an absolute path
    std::string value;  // empty: the standard one
};

static Setting settings[] = {
    {"state_dir", "/var/lib/nubo", true, {}},
    {"database", "sqlite", false, {}},
    {"database_wait", "60", false, {}},
    {"database_answer_wait", "120", false, {}},
    {"box", "nubo", false, {}},
    {"queue", "/var/spool/nubo_indexing_queue", true, {}},
    {"text_fallback_charset", "windows-1252", false, {}},
};
static bool settings_loaded = false;
static std::string settings_file;
static std::string settings_error;

static Setting *SettingFind(const char *key)
{
    for (Setting &setting : settings) {
        if (!strcmp(setting.key, key))
            return &setting;
    }
    return nullptr;
}

static void SettingTake(const char *path, int line_number, const char *key, const char *value)
{
    Setting *setting = SettingFind(key);
    if (!setting) {
        syslog(LOG_WARNING, "%s:%d: unknown setting \"%s\"", path, line_number, key);
        return;
    }
    if (setting->is_path && value[0] != '/') {
        syslog(LOG_WARNING, "%s:%d: \"%s\" is no absolute path, %s is used", path, line_number, value,
               setting->standard);
        return;
    }
    setting->value = value;
}

// 0; -1 with errno.
static int SettingsRead(FILE *file, const char *path)
{
    char *line = nullptr;
    size_t capacity = 0;
    for (int number = 1; getline(&line, &capacity, file) >= 0; number++) {
        char *key = nullptr;
        char *value = nullptr;
        if (SettingLineSplit(line, &key, &value))
            SettingTake(path, number, key, value);
    }
    int error = ferror(file) ? errno : 0;
    free(line);
    errno = error;
    return error ? -1 : 0;
}

void PlatformSettingsLoad(const char *path)
{
    settings_loaded = true;
    for (Setting &setting : settings)
        setting.value.clear();

    if (!path)
        path = secure_getenv("NUBO_PLATFORM_CONF");
    if (!path)
        path = PLATFORM_CONF;
    settings_file = path;
    settings_error.clear();
    FILE *file = fopen(path, "re");
    bool is_known = file ? SettingsRead(file, path) == 0 : errno == ENOENT || errno == ENOTDIR;
    if (!is_known) {
        settings_error = settings_file + ": " + strerror(errno);
        syslog(LOG_ERR, "%s", settings_error.c_str());
    }
    if (file)
        fclose(file);
}

static void SettingsNeed()
{
    if (!settings_loaded)
        PlatformSettingsLoad(nullptr);
}

const char *PlatformSettingsFile(void)
{
    SettingsNeed();
    return settings_file.c_str();
}

const char *PlatformSettingsError(void)
{
    SettingsNeed();
    return settings_error.empty() ? nullptr : settings_error.c_str();
}

void PlatformSettingSet(const char *key, const char *value)
{
    SettingsNeed();
    if (Setting *setting = SettingFind(key))
        setting->value = value;
}

const char *PlatformSetting(const char *key)
{
    SettingsNeed();
    const Setting *setting = key ? SettingFind(key) : nullptr;
    if (!setting)
        return nullptr;
    return setting->value.empty() ? setting->standard : setting->value.c_str();
}
