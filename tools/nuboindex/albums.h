// The albums of the photo database.
#pragma once

#include <string>

#include "list_form.h"
#include "output.h"

// Prints all albums with who may see them, ordered by name: of this box, or of all on its server. False: a database
// cannot be read.
bool AlbumsPrint(bool all_boxes, ListForm form, const Output &output);

// Makes an album and its sub-albums public or private. The number of albums that this concerned, 0 when there is no
// such album, -1 when the database fails.
int AlbumPublicSet(const std::string &name, bool is_public);
