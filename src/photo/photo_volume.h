// The volume that holds the photo share.
#pragma once

// Looks at the file system below the photo share and notes whether folder listings on it need checking.
void PhotoVolumeCheck(void);

// Whether an entry of a listing that asked for folders only is to be taken as a folder. `name` is relative to the
// working directory; it is looked at only when the last check found that this volume lists other things too.
bool IsListedFolder(const char *name);
