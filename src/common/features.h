// The two feature switches of the box: 0 or 1, read once at start-up.
#pragma once

extern int supportphoto;     // photo shares, photo database, albums
extern int supportcinehall;  // web videos
