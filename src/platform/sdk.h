// The appliance SDK library (libnlib): settings files, pid files, paths, programs, the event log.
#pragma once

#include <stdint.h>

extern "C" {

// Runs `program` with up to four arguments (the first null ends them) and waits for it; no shell is
// involved. Its exit status, or -1.
int NLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4);

// The process id that stands in a pid file; 0 or less when the file is absent, empty or not a number.
int NLIBReadPidFile(const char *path);

// Copies the value of `key` from a file of key="value" lines. Its length; negative when the file or the
// key is missing.
int NLIBFileGetKeyValue(const char *file, const char *key, char *out, int size, int flags);

// Looks for the line `wanted`. Positive: found, and `buf` holds the whole line without its line feed;
// 0: not there; negative: no such file.
int NLIBFileGetLine(const char *file, const char *wanted, char *buf, int size, int flags);

// Makes one shell word of `src`; at most 2 x length + 1 bytes. 0, or negative when it does not fit or
// cannot be expressed.
int NLIBEncShParam(const char *src, char *out, int size);

// Prints the platform's banner on standard output.
void NLIBCopyright(void);

// Non-zero when something exists at `path`.
int BlNLIBFileExist(const char *path);

// Non-zero when the settings file holds key = value.
int BlNUBOFileCheckKeyValue(const char *file, const char *key, const char *value, int flags);

// The path of the description file of a photo or folder for one key. 0 on success.
int NUBOEAPath(const char *path, const char *key, char *out, int size);

// Appends an entry to the appliance's event log. 0 on success.
int NUBOLogSet1(int cls, int level, unsigned int event, const char *t1, const char *t2, const char *t3,
                const char *t4);

// Non-zero for anything that exists and is no directory; its size in bytes goes to `size` unless that is
// null.
int IsFileExist(const char *path, uint64_t *size);

// Non-zero for an existing directory.
int IsDirExist(const char *path);

// Cuts blanks, tabs and line ends at both ends, in place.
void StringTrim(char *text);
}
