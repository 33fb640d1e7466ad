// Songs as a library of some size holds them: 20 a folder, 50 folders an artist.
#pragma once

#include "index/media_record.h"

static constexpr int ALBUM_ROWS = 20;
static constexpr int ARTIST_ROWS = 1000;

// Fills the record of the row with this number; it may hold another row's already.
void SampleRecord(MediaInfoRecord *record, long row);
