// Media files of every format without a reader of our own, read by FFmpeg in a forked child: demuxers hang,
// crash and eat memory on hostile files, and none of that may reach the daemon.
#pragma once

#include "index/media_record.h"

// Reads a file into the record, which the caller has filled with its defaults. 0: the child read the file;
// 1: it ran but could not read it; -1: it was killed or crashed, or could not be started. The record holds
// what the child managed to write in all three cases.
int MediaProbeRun(const char *path, MediaInfoRecord *record);
