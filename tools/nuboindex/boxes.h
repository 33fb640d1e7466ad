// Reading from the databases of all boxes that keep them on one server.
#pragma once

#include <functional>
#include <string>

#include "output.h"

// Reads the databases; false when they cannot be read. `box` is empty where only this one is asked for.
using BoxRead = std::function<bool(const std::string &box)>;

// Reads this box, or all boxes one after the other, ordered by name. A box that cannot be read is reported, and the
// others are read. True when all could be.
bool BoxesRead(bool all, const Output &output, const BoxRead &read);
