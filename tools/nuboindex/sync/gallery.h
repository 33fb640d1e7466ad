// What the photo database has to say about files and folders: its photos and its albums.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <unordered_set>

#include "sync/share.h"

struct Gallery {
    bool is_used;        // the box has photos ("supportphoto") and a photo share
    std::string root;    // of the photo share, without a slash at its end
    bool takes_singles;  // requests for single paths reach the photo database; else only a rebuild does
    bool has_albums;     // the share stands where the names of albums are cut from its paths
    std::unordered_set<std::string> albums;  // the folders of all album rows
};

// False: the photo database cannot be read.
bool GalleryRead(const std::vector<Share> &shares, Gallery &gallery);

enum GalleryRow {
    GALLERY_MUST,  // a resynchronisation and every request for the file give it a row
    GALLERY_MAY,   // a resynchronisation takes the row away that a request gave
    GALLERY_NEVER,  // it cannot have one; one that is there, from better days, is taken away by a resynchronisation
    GALLERY_NO_MATTER,
};

GalleryRow GalleryRowOf(const Gallery &gallery, const std::string &path, std::string_view name, uint64_t size);

// Does every way of indexing make this folder of the photo share an album? The rest of those for which IsAlbumDepth
// holds (hidden ones, above all) become albums by requests of their own and lose them to a resynchronisation.
bool IsAlbumFolder(const Gallery &gallery, const std::string &path);

// Could the daemon have made an album of this folder, so that its requests reach it?
bool IsAlbumDepth(const Gallery &gallery, const std::string &path);

// Can a single request reach the rows that the photo database has for a path?
bool TakesSingle(const Gallery &gallery, const std::string &path);
