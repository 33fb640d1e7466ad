// What the sub-commands that give a photo a text have in common.
#pragma once

#include <string>

#include "output.h"

// Writes the photo's description file and queues the request with which the daemon reads it. `verb` names the
// sub-command in messages.
int PhotoTextSet(const char *verb, const char *key, const std::string &given, const std::string &text,
                 const Output &output);
