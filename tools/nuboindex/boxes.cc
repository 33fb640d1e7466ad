// One box at a time: each has schemas of its own, and may have another version than ours.
#include "boxes.h"

#include <vector>

#include "nubodb/database.h"

bool BoxesRead(bool all, const Output &output, const BoxRead &read)
{
    if (!all)
        return read("");
    std::vector<std::string> boxes;
    bool done = DbBoxes(&boxes) == 0;
    for (const std::string &box : boxes) {
        DbBoxSelect(box);
        if (read(box))
            continue;
        (void)Complain(output, "box " + box + " cannot be read");
        done = false;
    }
    DbBoxSelect("");
    return done;
}
