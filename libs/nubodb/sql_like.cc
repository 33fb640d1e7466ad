// The engine's own `like` reads UTF-8 and takes every broken sequence for the same character, so that a folder
// "caf\xE9" would take "caf\xE8" along. This one compares bytes. The price is that the engine no longer sees the
// range in a pattern, which LikeRangesAdd therefore writes out.
#include "nubodb/sql_like.h"

#include "nubodb/sql_tokens.h"

// The bytes of the character at the text's beginning: 1 unless a whole UTF-8 sequence stands there.
static size_t CharacterLength(std::string_view text)
{
    auto lead = static_cast<unsigned char>(text[0]);
    size_t length = lead >= 0xF0 && lead < 0xF8 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 1;
    if (lead >= 0xF8 || length > text.size())
        return 1;
    for (size_t i = 1; i < length; i++) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
            return 1;
    }
    return length;
}

bool LikeMatches(std::string_view pattern, std::string_view text, char escape)
{
    size_t p = 0;
    size_t t = 0;
    size_t retry_p = std::string_view::npos;  // behind the last "%"
    size_t retry_t = 0;
    for (;;) {
        if (p < pattern.size() && pattern[p] == '%' && !(escape == '%')) {
            retry_p = ++p;
            retry_t = t;
            continue;
        }
        if (p == pattern.size() && t == text.size())
            return true;
        size_t step = 0;  // bytes of `text` that match the next item of the pattern
        size_t item = 1;
        if (p < pattern.size() && t < text.size()) {
            bool escaped = escape && pattern[p] == escape && p + 1 < pattern.size();
            if (escaped)
                item = 2;
            if (!escaped && pattern[p] == '_')
                step = CharacterLength(text.substr(t));
            else if (pattern[p + item - 1] == text[t])
                step = 1;
        }
        if (step > 0) {
            p += item;
            t += step;
        } else if (retry_p != std::string_view::npos && retry_t < text.size()) {
            p = retry_p;
            retry_t += CharacterLength(text.substr(retry_t));
            t = retry_t;
        } else {
            return false;
        }
    }
}

std::string LikePrefix(std::string_view pattern)
{
    std::string prefix;
    for (size_t i = 0; i < pattern.size() && pattern[i] != '%' && pattern[i] != '_'; i++) {
        if (pattern[i] == '\\' && i + 1 < pattern.size())
            i++;
        prefix.push_back(pattern[i]);
    }
    return prefix;
}

std::string PrefixEnd(std::string prefix)
{
    while (!prefix.empty() && static_cast<unsigned char>(prefix.back()) == 0xFF)
        prefix.pop_back();
    if (!prefix.empty())
        prefix.back() = static_cast<char>(prefix.back() + 1);
    return prefix;
}

// `column like 'literal'` as an operand of its own at tokens[i - 1 .. i + 1]?
static bool IsPlainLike(const std::vector<Token> &tokens, size_t i)
{
    if (i < 1 || i + 1 >= tokens.size() || !TokenIsOneOf(tokens[i], {"like"}))
        return false;
    if (tokens[i - 1].type != TOKEN_WORD || TokenIsOneOf(tokens[i - 1], {"not"}))
        return false;
    if (tokens[i + 1].type != TOKEN_LITERAL)
        return false;
    bool begins = i < 2 || TokenIsOneOf(tokens[i - 2], {"where", "and", "or", "not", "("});
    bool ends = i + 2 == tokens.size() ||
                TokenIsOneOf(tokens[i + 2], {"and", "or", "order", "group", "limit", ")", ";"});
    return begins && ends;
}

static std::string LiteralOf(std::string_view value)
{
    std::string literal = "'";
    for (char byte : value)
        literal.append(byte == '\'' ? 2 : 1, byte);
    return literal + "'";
}

std::string LikeRangesAdd(const char *sql)
{
    std::string_view text = sql;
    std::string out;
    size_t copied = 0;
    std::vector<Token> tokens = SqlTokens(text);
    for (const Token &token : tokens) {
        if (TokenIsOneOf(token, {"between", "case"}))  // their "and" and "when" are none of a condition
            return std::string(text);
    }
    for (size_t i = 0; i < tokens.size(); i++) {
        if (!IsPlainLike(tokens, i))
            continue;
        std::string prefix = LikePrefix(LiteralValue(tokens[i + 1].text));
        std::string end = PrefixEnd(prefix);
        if (end.empty())
            continue;
        std::string column(tokens[i - 1].text);
        size_t behind = tokens[i + 1].begin + tokens[i + 1].text.size();
        out.append(text, copied, tokens[i - 1].begin - copied);
        out += "(" + column + " >= " + LiteralOf(prefix) + " and " + column + " < " + LiteralOf(end) + " and ";
        out.append(text, tokens[i - 1].begin, behind - tokens[i - 1].begin);
        out += ")";
        copied = behind;
    }
    out.append(text, copied);
    return out;
}
