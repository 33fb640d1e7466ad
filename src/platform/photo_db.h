// The appliance's photo database library (libphotodb).
#pragma once

#include "photo/photo_record.h"
#include "platform/db_access.h"

extern "C" {

// Paths of photo rows. Nodes and paths come from malloc; FreePhotoPathList releases both.
typedef struct PhotoPathList {
    char *path;
    struct PhotoPathList *next;
} PhotoPathList;

// A query over table 0 photo, 1 video_desc, 2 video_comment, 3 photo_share or 4 photo_access_right; limit
// 0 is all rows. Null on failure.
NuboDbHandle *PhotoInfoDBOpen(int table, const char *columns, const char *condition, int zero1,
                              const char *order, int zero2, int limit);

// Releases a handle of PhotoInfoDBOpen or MediaInfoDBOpen; null is allowed.
void PhotoInfoDBClose(NuboDbHandle *handle);

// The "path" column of all rows, in their order; null when there is none.
PhotoPathList *PhotoPathDBGet(NuboDbHandle *handle);
void FreePhotoPathList(PhotoPathList *list);

// Moves every listed row from the old prefix to the new one, all or none. -1 on failure.
int NUBOUpdatePhotoPath(PhotoPathList *list, const char *new_prefix, const char *old_prefix);

// Stores the row of the record's path with its "updated" mark set. 0, or -1 on failure.
int PhotoInfoDBSave(const PhotoInfoRecord *record, int mode);

int PhotoInfoDBDelete(const char *path);    // one row; 0 or -1
int PhotoInfoDBDirDelete(const char *dir);  // every row below a folder; 0 or -1

// The resynchronisation's bracket: unmark every row; delete the rows still unmarked. 0 or -1.
int NUBOPhotoInitAllRows(void);
int NUBOPhotoDeleteNoUpdateRows(void);

// Runs a statement. The number of rows changed, or -1.
int PhotoDBExec(const char *sql);

// Negative on failure.
int PhotoDBVacuum(void);
}
