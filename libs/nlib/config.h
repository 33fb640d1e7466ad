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
//   database                sqlite          the database engine and how to reach it
//   text_fallback_charset   windows-1252    what 8-bit texts are taken for when nothing tells; an iconv name
const char *PlatformSetting(const char *key);

// Drops what was read and reads another file; null: the one that PlatformSetting would choose. A file that
// is not there leaves every setting at its default.
void PlatformSettingsLoad(const char *path);
}
#pragma GCC visibility pop
