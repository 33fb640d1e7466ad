// From what a user writes to the path under which the index knows the file.
#pragma once

#include <optional>
#include <string>

// Makes a path absolute (from $PWD as the shell sees it), removes ".", "..", doubled and trailing slashes, and
// replaces a share link in front (/var/services/music) by what the link holds (/volume1/music), because the
// daemon walks the shares under that name. Other symbolic links stay as written: the index stores paths exactly
// as requests name them. The file need not exist. Nothing, with a reason, when there is no such path.
std::optional<std::string> IndexPathOf(const std::string &given, std::string &reason);
