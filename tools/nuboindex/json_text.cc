// The lossless form stands beside the readable one, and only where the two differ.
#include "json_text.h"

#include "printable.h"

void JsonTextSet(Json &object, const std::string &key, std::string_view bytes)
{
    object[key] = bytes;
    if (!IsUtf8(bytes))
        object[key + "_percent"] = PercentText(bytes);
}

std::string JsonDump(const Json &value, const Output &output, int indent)
{
    return value.dump(indent, ' ', output.width > 0, Json::error_handler_t::replace);
}
