// ID3v2 tags, put together byte by byte.
#pragma once

#include <string>

#include "music/open_bytes.h"

// A text with zeros in it, from a literal.
template <size_t size>
inline std::string Bytes(const char (&text)[size])
{
    return std::string(text, size - 1);
}

inline std::string Frame23(const std::string &id, const std::string &data)
{
    return id + U32(static_cast<uint32_t>(data.size())) + std::string(2, '\0') + data;
}

inline std::string Frame24(const std::string &id, const std::string &data)
{
    return id + Syncsafe(static_cast<uint32_t>(data.size())) + std::string(2, '\0') + data;
}

inline std::string Frame22(const std::string &id, const std::string &data)
{
    return id + U32(static_cast<uint32_t>(data.size())).substr(1) + data;
}

// A single-byte text.
inline std::string Latin(const std::string &text)
{
    return std::string(1, '\0') + text;
}

inline std::string Comment(const std::string &text, const std::string &description = "")
{
    return Bytes("\0eng") + description + std::string(1, '\0') + text;
}

inline std::string Tag(char version, const std::string &frames, size_t padding = 20)
{
    std::string body = frames + std::string(padding, '\0');
    return "ID3" + std::string(1, version) + std::string(2, '\0') +
           Syncsafe(static_cast<uint32_t>(body.size())) + body;
}
