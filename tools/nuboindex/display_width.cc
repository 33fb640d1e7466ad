// Widths are the C library's, in a locale that does not depend on the caller's.
#include "display_width.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>
#include <vector>

#include "printable.h"

static constexpr char ELLIPSIS[] = "…";

struct Character {
    std::string_view bytes;
    int width;
};

static std::vector<Character> CharactersOf(std::string_view text)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::vector<Character> characters;
    locale_t before = uselocale(utf8);
    CharactersVisit(text, [&](std::string_view bytes, wint_t wide) {
        int width = wide == WEOF ? 1 : wcwidth(static_cast<wchar_t>(wide));
        characters.push_back({bytes, std::max(width, 0)});
    });
    uselocale(before);
    return characters;
}

int DisplayWidth(std::string_view text)
{
    int width = 0;
    for (const Character &character : CharactersOf(text))
        width += character.width;
    return width;
}

std::string EndThatFits(const std::string &text, int width)
{
    std::vector<Character> characters = CharactersOf(text);
    int left = DisplayWidth(text);
    if (left <= width)
        return text;
    if (width < 1)
        return "";
    size_t first = 0;
    // Marks without a width belong to the character in front of them.
    while (first < characters.size() && (left > width - 1 || characters[first].width == 0))
        left -= characters[first++].width;
    std::string end = ELLIPSIS;
    for (; first < characters.size(); first++)
        end += characters[first].bytes;
    return end;
}

std::string StartThatFits(const std::string &text, int width)
{
    if (DisplayWidth(text) <= width)
        return text;
    if (width < 1)
        return "";
    std::string start;
    int used = 0;
    for (const Character &character : CharactersOf(text)) {
        used += character.width;
        if (used > width - 1)
            break;
        start += character.bytes;
    }
    return start + ELLIPSIS;
}
