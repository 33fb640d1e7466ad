// Decoding is left to the C library, in a locale that does not depend on the caller's.
#include "printable.h"

#include <limits.h>
#include <locale.h>
#include <stdint.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

static constexpr wchar_t UNICODE_MAX = 0x10FFFF;
static constexpr char HEX_DIGITS[] = "0123456789abcdef";

void CharactersVisit(std::string_view text,
                     const std::function<void(std::string_view bytes, wint_t wide)> &visit)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    locale_t before = uselocale(utf8);
    while (!text.empty()) {
        mbstate_t state = {};
        wchar_t wide = 0;
        size_t length = mbrtowc(&wide, text.data(), text.size(), &state);
        bool valid = length <= text.size() && wide <= UNICODE_MAX;  // the two failures are the largest numbers
        if (!valid || length == 0)
            length = 1;
        visit(text.substr(0, length), valid ? static_cast<wint_t>(wide) : WEOF);
        text.remove_prefix(length);
    }
    uselocale(before);
}

static bool IsDirectionMark(wint_t wide)
{
    return wide == 0x061C || wide == 0x200E || wide == 0x200F || (wide >= 0x202A && wide <= 0x202E) ||
           (wide >= 0x2066 && wide <= 0x2069);
}

static bool IsLineBreak(wint_t wide)
{
    return wide == 0x2028 || wide == 0x2029;
}

std::string PrintableText(std::string_view text)
{
    std::string printable;
    size_t position = 0;
    CharactersVisit(text, [&](std::string_view bytes, wint_t wide) {
        position += bytes.size();
        bool is_escape = wide == L'\\' && position < text.size() && text[position] == 'x';
        bool is_unsafe = wide == WEOF || iswcntrl(wide) || IsDirectionMark(wide) || IsLineBreak(wide);
        if (!is_escape && !is_unsafe) {
            printable += bytes;
            return;
        }
        for (char byte : bytes) {
            auto value = static_cast<unsigned char>(byte);
            printable += {'\\', 'x', HEX_DIGITS[value >> 4], HEX_DIGITS[value & 15]};
        }
    });
    return printable;
}

std::string FoldedText(std::string_view text)
{
    std::string folded;
    CharactersVisit(text, [&](std::string_view bytes, wint_t wide) {
        char lower[MB_LEN_MAX];
        mbstate_t state = {};
        size_t length = wide == WEOF ? SIZE_MAX : wcrtomb(lower, static_cast<wchar_t>(towlower(wide)), &state);
        folded += length <= sizeof lower ? std::string_view(lower, length) : bytes;
    });
    return folded;
}

bool IsUtf8(std::string_view text)
{
    bool valid = true;
    CharactersVisit(text, [&](std::string_view, wint_t wide) { valid = valid && wide != WEOF; });
    return valid;
}

std::string PercentText(std::string_view text)
{
    static constexpr char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
    std::string percent;
    for (char byte : text) {
        auto value = static_cast<unsigned char>(byte);
        if (value != 0 && strchr(plain, byte))
            percent += byte;
        else
            percent += {'%', HEX_DIGITS[value >> 4], HEX_DIGITS[value & 15]};
    }
    return percent;
}
