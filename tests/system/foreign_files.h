// Files as nobody should send them. They are sparse: huge for a reader, nothing on the disk.
#pragma once

#include <string>

// A Matroska film whose first cluster a reader looks for through a terabyte of zeros.
void EndlessMatroskaWrite(const std::string &path);

// An MP4 film whose table of sample sizes takes half a gigabyte of memory.
void GreedyMp4Write(const std::string &path);
