// Playlists: listed by name, size and times; their contents are the media servers' business.
#pragma once

// 0 saved, -1 otherwise (bad parameter, not a regular file, or the save failed).
int PlaylistAdd(const char *path);

// 0 when the file is gone, whether or not its row could be removed; -1 when it still exists.
int PlaylistDelete(const char *path);
