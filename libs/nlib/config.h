// The settings of the open libraries, from /etc/nubo/platform.conf: `key = value` lines, every one optional.
#pragma once

#pragma GCC visibility push(default)
extern "C" {

// The value of a setting, or its default where the file says nothing; null for a key that does not exist.
// Valid until the next PlatformSettingsLoad. The first call reads the file (the one that the environment
// variable NUBO_PLATFORM_CONF names, when the program runs without raised rights); keys that nobody
// knows and values that cannot be are reported by syslog, with file and line.
//
//   state_dir               /var/lib/nubo   databases, covers, event log; an absolute path
//   database                sqlite          the database engine: "sqlite", or a connection string of PostgreSQL
//   database_wait           60              seconds that a batch waits for a server that went away
//   database_answer_wait    120             seconds after which a server that does not answer is taken for dead
//   box                     nubo            the name under which this box keeps its rows on a shared server
//   queue                   /var/spool/nubo_indexing_queue
//                                           where changes that a database missed are queued again
//   text_fallback_charset   windows-1252    what 8-bit texts are taken for when nothing tells; an iconv name
const char *PlatformSetting(const char *key);

// Drops what was read and reads another file; null: the one that PlatformSetting would choose. A file that
// is not there leaves every setting at its default.
void PlatformSettingsLoad(const char *path);

// The file that the settings come from, whether it exists or not.
const char *PlatformSettingsFile(void);

// Why the file could not be read, or null. Whoever may not read it must not go on with the default database.
const char *PlatformSettingsError(void);

// Another value for this process, until the next PlatformSettingsLoad.
void PlatformSettingSet(const char *key, const char *value);
}
#pragma GCC visibility pop
