// JSON for everybody: names need not be UTF-8, and the text may end up on a terminal.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

#include "output.h"

using Json = nlohmann::ordered_json;

// Sets object[key]. Bytes that are no UTF-8 come out as U+FFFD there; object[key + "_percent"] then holds all the
// bytes in percent escapes.
void JsonTextSet(Json &object, const std::string &key, std::string_view bytes);

// One value as text: on a terminal with all but ASCII escaped. indent -1 is one line.
std::string JsonDump(const Json &value, const Output &output, int indent);
