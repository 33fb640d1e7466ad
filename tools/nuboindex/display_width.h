// Text measured in columns of a terminal.
#pragma once

#include <string>
#include <string_view>

// Printable text; characters may be one or two columns wide, or none.
int DisplayWidth(std::string_view text);

// The text as it is when it fits; else its end behind "…", which is what tells paths apart.
std::string EndThatFits(const std::string &text, int width);

// The text as it is when it fits; else its beginning in front of "…".
std::string StartThatFits(const std::string &text, int width);
