// Rates decodings: each character costs about as many tenths of a bit as it would take to tell it to somebody
// who expects names of songs, so a wrong decoding, full of rare characters and odd neighbours, costs more.
#include "mediaindex/charset_guess.h"

#include <limits.h>
#include <stdint.h>
#include <string.h>
#include <strings.h>
#include <uchardet/uchardet.h>

#include "mediaindex/charset_decode.h"
#include "mediaindex/common_characters.h"
#include "nlib/utf8.h"

struct Charset {
    const char *name;
    int handicap;      // tenths of a bit
    bool wide;         // characters of two bytes
    bool japanese;     // kana are at home here
    uint8_t han_from;  // lead bytes of the usual Han characters, which stand before the rare ones
    uint8_t han_to;
    uint8_t han_tail;  // their lowest second byte
};

static constexpr Charset CHARSETS[] = {
    {"WINDOWS-1252", 0, false, false, 0, 0, 0},
    {"WINDOWS-1251", 0, false, false, 0, 0, 0},
    {"KOI8-R", 60, false, false, 0, 0, 0},
    {"CP932", 0, true, true, 0x88, 0x97, 0x40},  // Shift-JIS with the vendors' additions
    {"EUC-JP", 120, true, true, 0xB0, 0xCF, 0xA1},
    {"CP936", 0, true, false, 0xB0, 0xD7, 0xA1},  // GBK
    {"BIG5", 20, true, false, 0xA4, 0xC6, 0x40},
    {"CP949", 0, true, false, 0xFF, 0, 0},  // EUC-KR with all syllables
};

static constexpr int PROPOSAL_HANDICAP = 80;  // of what uchardet alone believes in
static constexpr int FALLBACK_BONUS = 100;
static constexpr int INVALID_COST = 300;
static constexpr int CUT_COST = 120;

enum Script {
    SCRIPT_NONE,
    SCRIPT_LATIN,
    SCRIPT_CYRILLIC,
    SCRIPT_JAPANESE,
    SCRIPT_HAN,
    SCRIPT_HANGUL,
    SCRIPT_OTHER
};

static bool IsBetween(char32_t c, char32_t first, char32_t last)
{
    return c >= first && c <= last;
}

static Script ScriptOf(char32_t c)
{
    if (IsBetween(c | 0x20, 'a', 'z') || (IsBetween(c, 0xC0, 0x24F) && c != 0xD7 && c != 0xF7))
        return SCRIPT_LATIN;
    if (IsBetween(c, 0x400, 0x4FF))
        return SCRIPT_CYRILLIC;
    if (IsBetween(c, 0x3041, 0x30FF) || IsBetween(c, 0xFF66, 0xFF9F))
        return SCRIPT_JAPANESE;
    if (IsBetween(c, 0x4E00, 0x9FFF) || c == 0x3005)
        return SCRIPT_HAN;
    if (IsBetween(c, 0xAC00, 0xD7A3))
        return SCRIPT_HANGUL;
    return IsBetween(c, 0x370, 0x3FF) || IsBetween(c, 0x590, 0x6FF) || IsBetween(c, 0xE00, 0xE7F) ? SCRIPT_OTHER
                                                                                                  : SCRIPT_NONE;
}

static bool IsUpper(char32_t c)
{
    return IsBetween(c, 'A', 'Z') || IsBetween(c, 0xC0, 0xDE) || IsBetween(c, 0x400, 0x42F);
}

static bool IsLower(char32_t c)
{
    return IsBetween(c, 'a', 'z') || IsBetween(c, 0xDF, 0xFF) || IsBetween(c, 0x430, 0x45F);
}

static int HanCost(const Charset &charset, char32_t c, const uint8_t *bytes)
{
    bool usual = bytes[0] >= charset.han_from && bytes[0] <= charset.han_to && bytes[1] >= charset.han_tail;
    if (usual)
        return IsCommonHan(c) ? 95 : 125;
    return bytes[0] >= 0xA1 && bytes[1] >= 0xA1 ? 170 : 190;
}

static int HangulCost(char32_t c, const uint8_t *bytes)
{
    if (IsCommonHangul(c))
        return 85;
    return bytes[0] >= 0xB0 && bytes[1] >= 0xA1 ? 125 : 180;
}

static int KanaCost(const Charset &charset, char32_t c)
{
    if (c >= 0xFF00)
        return 120;  // half width
    if (!charset.japanese)
        return 140;
    return c < 0x30A0 ? 65 : 70;
}

static int CyrillicCost(char32_t c)
{
    static constexpr int costs[] = {45, 60, 80, 100};
    return costs[CyrillicRarity(c)] + (IsUpper(c) ? 10 : 0);
}

static int SignCost(const Charset &charset, char32_t c)
{
    static constexpr std::u32string_view western = U"\u00a1\u00bf\u00ab\u00bb\u00b0\u00b4\u00a7\u00a9\u00ae"
                                                   U"\u00aa\u00ba\u00b2\u00b3\u00b7\u20ac\u2122\u2022";
    if (IsBetween(c, 0xE000, 0xF8FF))
        return 250;  // private use
    if (IsBetween(c, 0x2010, 0x2026))
        return charset.wide ? 110 : 90;  // dashes, quotes
    if (IsBetween(c, 0x3000, 0x301F))
        return 90;
    if (IsBetween(c, 0xFF01, 0xFF5E))
        return 100;
    return !charset.wide && western.find(c) != western.npos ? 110 : 160;
}

static int CharacterCost(const Charset &charset, char32_t c, const uint8_t *bytes, char32_t before)
{
    Script script = ScriptOf(c);
    if (c < 0x80)
        return c < 32 ? 200 : 50;
    if (script == SCRIPT_HAN)
        return HanCost(charset, c, bytes);
    if (script == SCRIPT_HANGUL)
        return HangulCost(c, bytes);
    if (script == SCRIPT_JAPANESE)
        return KanaCost(charset, c);
    if (script != SCRIPT_NONE && charset.wide)
        return 140;  // alphabets are guests there
    if (script == SCRIPT_LATIN)
        return before >= 0x80 && ScriptOf(before) == SCRIPT_LATIN ? 125 : c < 0x100 ? 90 : 100;
    if (script == SCRIPT_CYRILLIC)
        return CyrillicCost(c);
    if (script == SCRIPT_OTHER)
        return ScriptOf(before) == SCRIPT_OTHER ? 60 : 80;
    return SignCost(charset, c);
}

// What two neighbours cost beyond themselves: letters of two scripts in one word, a capital or a sign inside.
static int NeighbourCost(char32_t before, char32_t c)
{
    if (before < 0x80 && c < 0x80)
        return 0;
    Script left = ScriptOf(before);
    Script right = ScriptOf(c);
    if (left == SCRIPT_LATIN && right == SCRIPT_NONE && IsBetween(c, 0xA0, 0xFF))
        return 60;
    if (left == SCRIPT_NONE || right == SCRIPT_NONE)
        return 0;
    if (left == right)
        return IsLower(before) && IsUpper(c) ? 80 : 0;
    bool alphabets =
        left == SCRIPT_CYRILLIC || right == SCRIPT_CYRILLIC || left == SCRIPT_OTHER || right == SCRIPT_OTHER;
    if (alphabets)
        return 80;
    bool japanese = left == SCRIPT_JAPANESE || right == SCRIPT_JAPANESE;
    bool han = left == SCRIPT_HAN || right == SCRIPT_HAN;
    return japanese && han ? 0 : 40;
}

static int TextCost(const Charset &charset, iconv_t converter, std::string_view text)
{
    int cost = 0;
    char32_t before = ' ';
    for (size_t pos = 0; pos < text.size();) {
        const char *at = text.data() + pos;
        DecodedCharacter next = CharacterDecode(converter, at, text.size() - pos);
        if (next.result == DECODE_DONE) {
            uint8_t bytes[2] = {static_cast<uint8_t>(at[0]), static_cast<uint8_t>(next.length > 1 ? at[1] : 0)};
            cost += CharacterCost(charset, next.c, bytes, before) + NeighbourCost(before, next.c);
            before = next.c;
        } else {
            cost += next.result == DECODE_CUT ? CUT_COST : INVALID_COST;
            before = ' ';
        }
        pos += next.length;
    }
    return cost;
}

static int CharsetCost(const Charset &charset, const std::vector<std::string_view> &texts)
{
    iconv_t converter = ConverterGet(charset.name);
    if (converter == reinterpret_cast<iconv_t>(-1))
        return INT_MAX;
    int cost = charset.handicap;
    for (std::string_view text : texts)
        cost += TextCost(charset, converter, text);
    return cost;
}

// What uchardet makes of the texts; empty unless it is a charset of single bytes, for it rates the others
// worse than we do.
static std::string SingleByteProposal(const std::vector<std::string_view> &texts)
{
    static constexpr const char *families[] = {"ISO-8859", "WINDOWS-", "KOI8", "TIS-620", "IBM", "MAC-"};
    uchardet_t detector = uchardet_new();
    for (std::string_view text : texts) {
        (void)uchardet_handle_data(detector, text.data(), text.size());
        (void)uchardet_handle_data(detector, "\n", 1);
    }
    uchardet_data_end(detector);
    std::string name = uchardet_get_charset(detector);
    uchardet_delete(detector);
    for (const char *family : families) {
        if (!strncmp(name.c_str(), family, strlen(family)))
            return name;
    }
    return {};
}

static Charset CharsetByName(const char *name, int handicap)
{
    for (const Charset &charset : CHARSETS) {
        if (!strcasecmp(charset.name, name)) {
            Charset named = charset;
            named.handicap = handicap;
            return named;
        }
    }
    return {name, handicap, false, false, 0, 0, 0};
}

std::string TextCharsetGuess(const std::vector<std::string_view> &texts, const char *fallback)
{
    std::string proposal = SingleByteProposal(texts);
    std::vector<Charset> candidates = {CharsetByName(fallback, -FALLBACK_BONUS)};
    candidates.insert(candidates.end(), std::begin(CHARSETS), std::end(CHARSETS));
    if (!proposal.empty())
        candidates.push_back(CharsetByName(proposal.c_str(), PROPOSAL_HANDICAP));

    const Charset *best = &candidates[0];
    int best_cost = INT_MAX;
    for (const Charset &candidate : candidates) {
        int cost = CharsetCost(candidate, texts);
        if (cost < best_cost) {
            best = &candidate;
            best_cost = cost;
        }
    }
    return best->name;
}

std::string TextDecode(std::string_view text, const char *charset)
{
    iconv_t converter = ConverterGet(charset);
    if (converter == reinterpret_cast<iconv_t>(-1))
        converter = ConverterGet("WINDOWS-1252");
    std::string decoded;
    for (size_t pos = 0; pos < text.size();) {
        DecodedCharacter next = CharacterDecode(converter, text.data() + pos, text.size() - pos);
        if (next.result == DECODE_DONE)
            Utf8Append(&decoded, next.c);
        else if (next.result == DECODE_INVALID)
            Utf8Append(&decoded, REPLACEMENT_CHARACTER);
        pos += next.length;
    }
    return decoded;
}
