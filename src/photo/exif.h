// What a photo says about itself.
#pragma once

#include "photo/photo_record.h"

// Fills make, model, exposure time, aperture, date, ISO and size of a record whose `path` is set, from the EXIF
// block of that file; fields without an entry stay as they are. A tag that occurs in several directories of the
// block is taken from the last one. The size is the camera's, without regard to the orientation.
// 0, also when the file has no EXIF data; -1 for a null record.
int PhotoExifGet(PhotoInfoRecord *record);
