// `like` with one meaning on every engine: case counts, a backslash takes the next character as it stands, "%" is
// any text and "_" one character. Texts are bytes; where they are no UTF-8, a byte is a character.
#pragma once

#include <string>
#include <string_view>

// Does `text` match the whole pattern? `escape` 0: there is no escape character.
bool LikeMatches(std::string_view pattern, std::string_view text, char escape);

// The text before the first wildcard, with its escapes resolved: what every match begins with.
std::string LikePrefix(std::string_view pattern);

// The least text that is greater than everything that begins with `prefix`, in byte order; empty when there
// is none.
std::string PrefixEnd(std::string prefix);

// Adds to every `column like 'text%…'` the range that the pattern's beginning allows, so that an index on the
// column is used. `not like`, and operands that are no plain column and literal, stay as they are.
std::string LikeRangesAdd(const char *sql);
