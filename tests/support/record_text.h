// A media record as text, one line a field that is not empty or zero: what a test compares and prints.
#pragma once

#include <string>

#include "index/media_record.h"

// "path=/a.mp3\nfilesize=5\ntitle=a\n", in the order of the record.
std::string RecordText(const MediaInfoRecord &record);
