// The child's side of a probe; the only code that touches FFmpeg.
#pragma once

#include "index/media_record.h"

// Reads container, streams and tags into the record. 0 success; 1 failure (messages logged), with whatever
// was found in the record. Play time is whole seconds, by design.
int MediaProbeParse(const char *path, MediaInfoRecord *record);
