// What a request asks for (modes) and of which database or share (type bits).
#pragma once

enum {
    INDEX_MODE_ADD = 1,      // add or update
    INDEX_MODE_DELETE = 2,   // remove
    INDEX_MODE_REBUILD = 3,  // whole shares, IndexPathUpdate only
    INDEX_MODE_REFRESH = 5,  // walk and see again, IndexPathUpdate only
};

enum {
    NUBOINDEX_MEDIA = 1,  // media database; as a rebuild selector: all three shares
    NUBOINDEX_PHOTO = 2,  // photo database
    NUBOINDEX_MUSIC = 4,  // rebuild selector: music share
    NUBOINDEX_VIDEO = 8,  // rebuild selector: video share
};
