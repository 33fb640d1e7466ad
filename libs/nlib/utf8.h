// UTF-8 one character at a time.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

#pragma GCC visibility push(default)

static constexpr char32_t REPLACEMENT_CHARACTER = 0xFFFD;

// The length of the well-formed character at `text`, of which `left` bytes may be read, with the character in
// `c`; 0 when there is none: overlong forms, surrogates and values above U+10FFFF are not well-formed.
size_t Utf8Read(const char *text, size_t left, char32_t *c);

// The bytes that are missing where the text ends inside a character; 0 when it does not.
size_t Utf8Missing(const char *text, size_t left);

void Utf8Append(std::string *text, char32_t c);

// Is every byte part of a well-formed character?
bool Utf8IsClean(std::string_view text);

// The text with U+FFFD in place of every byte that belongs to no well-formed character.
std::string Utf8Cleaned(std::string_view text);

#pragma GCC visibility pop
