// Legacy 8-bit texts: which charset they are in, and their conversion. Detectors made for web pages need more
// text than a tag has, so the charset is the one in which all texts of a record together read most like
// text: every candidate is decoded and rated.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The iconv name of the charset of texts that are not UTF-8. Western, Cyrillic, Japanese, Chinese and Korean
// charsets are rated always, another alphabet's when uchardet proposes it. `fallback` is preferred where
// little tells for another one.
std::string TextCharsetGuess(const std::vector<std::string_view> &texts, const char *fallback);

// The text as UTF-8. Bytes that mean nothing in the charset become U+FFFD, but a last character that was cut
// off is left out. A charset that iconv does not know is taken for windows-1252.
std::string TextDecode(std::string_view text, const char *charset);
