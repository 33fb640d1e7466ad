// Which table of the media database a file belongs into. The daemon tells by the extension alone, and so does this.
#pragma once

#include <string_view>

// MEDIA_KIND_MUSIC, _VIDEO, _PHOTO or _PLAYLIST; -1 for a name that gets no row: without an extension, with another
// one, or of the kind that other systems leave beside files ("._song.mp3").
int MediaKindOfName(std::string_view name);
