// Paths below the photo share.
#pragma once

#include <optional>
#include <string>

// The path without the photo share in front: "Trips/Rome/a.jpg". Nothing, with a reason, for a path that is not below
// the share, or that lies in a folder of the system's own (@eaDir, #recycle).
std::optional<std::string> PhotoShareName(const std::string &path, std::string &reason);
