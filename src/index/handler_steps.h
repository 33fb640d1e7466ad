// Steps that handlers share where they are the same in every respect. Messages keep their owner: the caller
// passes its own log site.
#pragma once

#include "common/log.h"
#include "index/media_record.h"

// What is known before a file is read: path, size, title and album from the path. The record is zero-filled
// before.
void NameDefaultsFill(LogSite at, const char *path, uint64_t size, MediaInfoRecord *record);

// Title and album from the path, where reading the file has left them empty.
void NameGapsFill(LogSite at, const char *path, MediaInfoRecord *record);

// The file's change and modification times.
void FileTimesFill(const char *path, MediaInfoRecord *record);

// Stores the row. 0 stored, -1 not stored, with its message.
int MediaRowSave(LogSite at, int kind, const MediaInfoRecord *record);

// Removes the row of a vanished file. 0 removed; -1 when the file still exists or the row could not be
// removed, each with its message.
int MediaRowForget(LogSite at, int kind, const char *path);
