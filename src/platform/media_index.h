// The appliance's media-index library (libmediaindex): the media database, reached through one record per
// file, and the facts about media files that the whole appliance shares.
#pragma once

#include "index/media_record.h"
#include "platform/db_access.h"

extern "C" {

// Stores the row of the record's path: insert or update. 0 stored, anything else failure.
int MediaInfoDBSave(int kind, const MediaInfoRecord *record);

// Removes the row of a path; kind MEDIA_KIND_SUBTREE removes every row at or below a folder. 0 removed.
int MediaInfoDBDelete(int kind, const char *path);

// Stores the row of a folder. 0 stored.
int MediaInfoDBDirSave(const char *dir);

// Makes the record storable: clean texts, encoding markers back to 0.
int MediaInfoValid(MediaInfoRecord *record);

// A query over one media table; null on failure. Closed with PhotoInfoDBClose.
NuboDbHandle *MediaInfoDBOpen(int kind, const char *columns, const char *condition, int zero1,
                              const char *order, int zero2, int zero3, int zero4);

// Negative on failure.
int MediaDBVacuum(void);

// Empties one known table; any other name fails.
int NUBOTruncateTable(const char *name);

// The text after the last dot of the file name, or null.
const char *NUBOIndexExtGet(const char *path);

// The file's change and modification times as text.
int NUBOIndexCTimeMTimeGet(const char *path, char *ctime_text, int ctime_size, char *mtime_text,
                           int mtime_size);

// The pixel size of a picture. 0 on success.
int NUBOIndexImgResGet(const char *path, int *width, int *height);

// Marks a video row as seen.
int NUBOIndexPhotoUpdateVideoStatus(const char *path);

// "The music (video) table has changed": set by the library, cleared by the daemon.
void NUBOIndexMusicTableDirtySet(int dirty);
void NUBOIndexVideoTableDirtySet(int dirty);
int BlNUBOIndexIsMusicTableDirty(void);
int BlNUBOIndexIsVideoTableDirty(void);

// Classes of files by extension (without dot, any case) or by path; non-zero for true.
int BlNUBOIndexIsJpeg(const char *ext);
int BlNUBOIndexIsPhotoOnWeb(const char *ext);
int BlNUBOIndexIsVideoOnWeb(const char *ext);
int BlNUBOIndexIsVideo(const char *ext);
int BlNUBOIndexIsPhotoOnWebFile(const char *path);
int BlNUBOIndexIsVideoOnWebFile(const char *path);

// The folder that holds a media file's covers, and the path of one cover in it: picture type of ID3v2,
// running number, kind 1 JPEG or 2 PNG. Non-zero when set; the folder exists then.
int GetCoverFolder(const char *media_path, char *out, int size);
int GetCoverPath(const char *media_path, char *out, int size, int picture_type, int index, int kind);

// Removes the covers that a cover folder holds for its media file.
int CleanOldCover(const char *folder);
}
