// Photo rows of the photo database, one file at a time.
#pragma once

// Adds (mode 1), removes (2) or sees again (5) one file of the photo share, by its extension: photos get their
// row, videos only their mark and their conversion. A video that browsers cannot play is given to the converter in
// every mode, when it is removed too. 0; -1 for bad arguments, folders and files of other kinds.
int PhotoIndexPath(const char *path, int mode);

// Builds and saves the row of one photo. 0 saved; -1 otherwise, without a message for what is left out on purpose:
// hidden names, "@eaDir", empty files and files of 20 MiB or more.
int PhotoInfoAdd(const char *path, int mode);

// Removes the row of a vanished file. 0 when the file is gone, whether or not its row could be removed; -1 when it
// still exists or lies below "@eaDir".
int PhotoInfoRemove(const char *path);
