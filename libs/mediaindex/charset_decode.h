// One character at a time out of a text in a legacy charset, through iconv.
#pragma once

#include <iconv.h>
#include <stddef.h>

enum DecodeResult {
    DECODE_DONE,     // a character
    DECODE_INVALID,  // the first byte means nothing here
    DECODE_CUT,      // the text ends inside a character
};

struct DecodedCharacter {
    char32_t c;
    size_t length;  // bytes that it took
    DecodeResult result;
};

// The open converter of a charset; opened once and kept. (iconv_t)-1 for one that iconv does not know.
iconv_t ConverterGet(const char *charset);

// Decodes what stands at `text`, of which `left` bytes, at least 1, may be read. ASCII is ASCII in every
// charset that is used here.
DecodedCharacter CharacterDecode(iconv_t converter, const char *text, size_t left);
