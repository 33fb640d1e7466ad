// One character at a time. The converters hold no state between two calls: all charsets here are stateless.
#include "mediaindex/charset_decode.h"

#include <errno.h>
#include <stdint.h>
#include <strings.h>

#include <string>
#include <vector>

static constexpr size_t CHARACTER_LIMIT = 4;  // bytes of the longest character

static const iconv_t NO_CONVERTER = reinterpret_cast<iconv_t>(-1);

struct Converter {
    std::string charset;
    iconv_t handle;
};

struct ConverterList {
    std::vector<Converter> open;

    ~ConverterList()
    {
        for (const Converter &converter : open) {
            if (converter.handle != NO_CONVERTER)
                iconv_close(converter.handle);
        }
    }
};

iconv_t ConverterGet(const char *charset)
{
    static ConverterList converters;
    for (const Converter &converter : converters.open) {
        if (!strcasecmp(converter.charset.c_str(), charset))
            return converter.handle;
    }
    converters.open.push_back({charset, iconv_open("WCHAR_T", charset)});
    return converters.open.back().handle;
}

DecodedCharacter CharacterDecode(iconv_t converter, const char *text, size_t left)
{
    if (static_cast<uint8_t>(text[0]) < 0x80)
        return {static_cast<char32_t>(text[0]), 1, DECODE_DONE};

    for (size_t length = 1; length <= left && length <= CHARACTER_LIMIT; length++) {
        wchar_t wide = 0;
        char *in = const_cast<char *>(text);
        char *out = reinterpret_cast<char *>(&wide);
        size_t in_left = length;
        size_t out_left = sizeof wide;
        (void)iconv(converter, nullptr, nullptr, nullptr, nullptr);
        errno = 0;
        if (iconv(converter, &in, &in_left, &out, &out_left) != static_cast<size_t>(-1) && out_left == 0)
            return {static_cast<char32_t>(wide), length, DECODE_DONE};
        if (errno != EINVAL)
            return {0, 1, DECODE_INVALID};
    }
    return {0, left < CHARACTER_LIMIT ? left : 1, left < CHARACTER_LIMIT ? DECODE_CUT : DECODE_INVALID};
}
