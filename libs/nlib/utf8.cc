// UTF-8 one character at a time.
#include "nlib/utf8.h"

#include <stdint.h>

// How many bytes follow a lead byte; -1 for a byte that starts no character.
static int TailLength(uint8_t lead)
{
    if (lead < 0x80)
        return 0;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 1;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 2;
    return lead >= 0xF0 && lead <= 0xF4 ? 3 : -1;
}

// The second byte excludes overlong forms, surrogates and values above U+10FFFF.
static bool IsSecondByte(uint8_t lead, uint8_t byte)
{
    switch (lead) {
    case 0xE0:
        return byte >= 0xA0 && byte <= 0xBF;
    case 0xED:
        return byte >= 0x80 && byte <= 0x9F;
    case 0xF0:
        return byte >= 0x90 && byte <= 0xBF;
    case 0xF4:
        return byte >= 0x80 && byte <= 0x8F;
    default:
        return byte >= 0x80 && byte <= 0xBF;
    }
}

// The number of good bytes at `text`, up to a whole character.
static size_t GoodBytes(const char *text, size_t left, int tail)
{
    size_t wanted = static_cast<size_t>(tail) + 1;
    size_t good = 1;
    uint8_t lead = static_cast<uint8_t>(text[0]);
    while (good < wanted && good < left) {
        uint8_t byte = static_cast<uint8_t>(text[good]);
        if (good == 1 ? !IsSecondByte(lead, byte) : (byte & 0xC0) != 0x80)
            break;
        good++;
    }
    return good;
}

size_t Utf8Read(const char *text, size_t left, char32_t *c)
{
    if (left == 0)
        return 0;
    uint8_t lead = static_cast<uint8_t>(text[0]);
    int tail = TailLength(lead);
    if (tail < 0 || GoodBytes(text, left, tail) != static_cast<size_t>(tail) + 1)
        return 0;
    char32_t value = tail == 0 ? lead : lead & (0x3Fu >> tail);
    for (int i = 1; i <= tail; i++)
        value = value << 6 | (static_cast<uint8_t>(text[i]) & 0x3Fu);
    *c = value;
    return static_cast<size_t>(tail) + 1;
}

size_t Utf8Missing(const char *text, size_t left)
{
    int tail = left > 0 ? TailLength(static_cast<uint8_t>(text[0])) : -1;
    if (tail <= 0)
        return 0;
    size_t good = GoodBytes(text, left, tail);
    return good == left ? static_cast<size_t>(tail) + 1 - good : 0;
}

void Utf8Append(std::string *text, char32_t c)
{
    if (c < 0x80) {
        *text += static_cast<char>(c);
        return;
    }
    int tail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    *text += static_cast<char>((0xFF00u >> (tail + 1) & 0xFF) | (c >> (6 * tail)));
    while (tail-- > 0)
        *text += static_cast<char>(0x80 | (c >> (6 * tail) & 0x3F));
}

bool Utf8IsClean(std::string_view text)
{
    for (size_t at = 0; at < text.size();) {
        char32_t c = 0;
        bool is_ascii = static_cast<uint8_t>(text[at]) < 0x80;
        size_t length = is_ascii ? 1 : Utf8Read(text.data() + at, text.size() - at, &c);
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

std::string Utf8Cleaned(std::string_view text)
{
    std::string clean;
    clean.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        char32_t c = REPLACEMENT_CHARACTER;
        size_t length = Utf8Read(text.data() + at, text.size() - at, &c);
        Utf8Append(&clean, c);
        at += length > 0 ? length : 1;
    }
    return clean;
}
