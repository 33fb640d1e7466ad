// Albums follow the folders of the photo share.
#pragma once

// Adds the album of a new folder and, for a top-level one, of its subfolders. 0 or -1.
int PhotoShareAddDir(const char *path);

// Rebuilds the albums of the whole share (null): rows of folders that are there stay or are added, all others are
// deleted, unless the share cannot be entered. With the path of a top-level album only its subfolders are marked.
// The working directory changes meanwhile. 0 or -1.
int PhotoShareSync(const char *path);

// Marks an album as seen, or creates it. The answer is always -1, and the query stays open.
int PhotoShareMarkUpdated(const char *sharename);

// Clears the mark of all albums (null), or of the sub-albums of one; deletes those without a mark. 0 or -1.
int PhotoShareInitUpdated(const char *prefix);
int PhotoShareDeleteNoUpdated(const char *prefix);
