// Paths as texts: one below another.
#pragma once

#include <string>
#include <string_view>

// A folder may have slashes at its end; the root folder becomes an empty text.
inline std::string WithoutSlash(std::string folder)
{
    while (!folder.empty() && folder.back() == '/')
        folder.pop_back();
    return folder;
}

// `folder` without a slash at its end.
inline bool IsAtOrBelow(std::string_view path, std::string_view folder)
{
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

// The folder that holds a path; empty for one directly below the root folder, or without a slash.
inline std::string ParentOf(std::string_view path)
{
    size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? "" : path.substr(0, slash));
}
