// Thumbnails of photos, small enough for a page full of them.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

// Starts the image library with its limits. To be called once, before any thumbnail. False: it cannot be used.
bool ThumbnailLibraryStart();

// Makes a JPEG picture out of the bytes of a photo file: upright, white where it was transparent, without the
// photo's own data, 320 pixels wide or high at most and never larger than the photo. False: no such picture. It may
// crash or grow on hostile bytes.
bool ThumbnailMake(const void *photo, size_t size, std::vector<unsigned char> &jpeg);

struct ThumbnailCount {
    int made;
    int up_to_date;
    int failed;
};

// Brings the thumbnails of a folder's web-viewable photos up to date, each in a child process. Failures go to the
// system log. Ends early when the end is announced.
ThumbnailCount FolderThumbnailsMake(const std::string &folder);
