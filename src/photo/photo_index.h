// Photo rows of the photo database, one file at a time.
#pragma once

// Adds (mode 1), removes (2) or sees again (5) one file of the photo share. 0 or -1.
int PhotoIndexPath(const char *path, int mode);
