// Photo rows of the media database.
#pragma once

// Stores a picture's name, times, size in bytes and pixels, for a JPEG also what its EXIF block says.
// 0 stored, or left out on purpose (below "@eaDir"); -1 nothing stored.
int PhotoMediaAdd(const char *path);

// 0 when the file is gone, whether or not its row could be removed; -1 when it still exists.
int PhotoMediaDelete(const char *path);
