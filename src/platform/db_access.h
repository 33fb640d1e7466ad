// The appliance's database access library (libnubodb): statements, rows, quoting.
#pragma once

extern "C" {

typedef struct NuboDbConnection NuboDbConnection;
typedef struct NuboDbResult NuboDbResult;

// An open query, as the media-index and photo libraries hand it out. Released with PhotoInfoDBClose.
typedef struct NuboDbHandle {
    NuboDbConnection *connection;
    NuboDbResult *result;
    int row;        // the current row, kept by NUBODBFetchRow
    int row_count;  // rows that matched
} NuboDbHandle;

// Runs one statement. 0, or -1 on failure; `result` may be null, else the caller frees what it receives.
int NUBODBExecute(NuboDbConnection *connection, const char *sql, NuboDbResult **result);

// The text of the connection's last error; never null.
const char *NUBODBErrorGet(NuboDbConnection *connection);

// Steps to the next row; 0 while there is one.
int NUBODBFetchRow(NuboDbResult *result, int *row);

// The text of a column of a row, or null. Booleans read as "t" and "f".
const char *NUBODBFetchField(NuboDbResult *result, int row, const char *column);

// Releases a result; null is allowed.
void NUBODBFreeResult(NuboDbResult *result);

// Quotes `length` bytes for the inside of a '...' literal; `dst` holds 2 x length + 1 bytes. 0 or -1.
int NUBODBEscapeString(char *dst, const char *src, int length);

// Makes an escaped text safe behind `like` as far as backslashes go; `dst` holds 3 x length + 1 bytes.
// 0 or -1.
int NUBODBEscapeBackslash(char *dst, int size, const char *src);
}
