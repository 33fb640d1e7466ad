// Albums follow the folders of the photo share.
#pragma once

// Adds the album of a new folder and, for a top-level one, of its subfolders. 0 or -1.
int PhotoShareAddDir(const char *path);

// Rebuilds the albums of the whole share (null) or of one top-level album. 0 or -1.
int PhotoShareSync(const char *path);
