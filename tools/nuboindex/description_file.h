// Description files: through them a title, a description or a public flag reaches the daemon, which reads a file once
// and removes it.
#pragma once

#include <string>

// Longer texts would be cut when they are stored.
static constexpr size_t DESCRIPTION_TEXT_MAX = 254;  // bytes

// Whether the text can be handed over whole; if not, the reason.
bool IsDescriptionText(const std::string &text, std::string &reason);

// Writes the description file of a photo or folder, whole or not at all, and makes its folder as needed. False with a
// reason.
bool DescriptionWrite(const std::string &path, const char *key, const std::string &text, std::string &reason);
