// Any bytes as text: for terminals and lines, and for JSON. File names may hold every byte but NUL.
#pragma once

#include <wchar.h>

#include <functional>
#include <string>
#include <string_view>

// The same text with everything that could steer a terminal or break a line written as \xHH: control characters,
// direction marks, bytes that are no UTF-8. A backslash in front of an "x" is escaped too, so that the original
// can be restored.
std::string PrintableText(std::string_view text);

// Calls `visit` with the bytes of every character; `wide` is WEOF for a byte that belongs to none.
void CharactersVisit(std::string_view text,
                     const std::function<void(std::string_view bytes, wint_t wide)> &visit);

// For comparisons without regard to case.
std::string FoldedText(std::string_view text);

bool IsUtf8(std::string_view text);

// The bytes with all but ASCII letters, digits and "-._~/" written as %HH.
std::string PercentText(std::string_view text);
