#include "nubodb/postgresql_text.h"

#include <algorithm>

#include "nlib/utf8.h"
#include "nubodb/sql_like.h"
#include "nubodb/sql_tokens.h"

static constexpr size_t PATH_HEAD_SIZE = 1000;  // bytes; as in the schema

struct Translation {
    std::string_view sql;
    bool composed;
    std::vector<Token> tokens;
    size_t at = 0;      // the token in hand
    size_t copied = 0;  // bytes of `sql` that are in the result or replaced
    PostgresqlText result;
};

static std::string ParameterAdd(Translation *work, std::string value)
{
    work->result.literals.push_back(std::move(value));
    return "$" + std::to_string(work->result.literals.size());
}

// Replaces the tokens from the one in hand on.
static void TokensReplace(Translation *work, size_t count, const std::string &text)
{
    const Token &last = work->tokens[work->at + count - 1];
    work->result.sql.append(work->sql, work->copied, work->tokens[work->at].begin - work->copied);
    work->result.sql += text;
    work->copied = last.begin + last.text.size();
    work->at += count;
}

static const Token *TokenAt(const Translation &work, size_t offset)
{
    return work.at + offset < work.tokens.size() ? &work.tokens[work.at + offset] : nullptr;
}

static bool IsSign(const Token *token, std::string_view text)
{
    return token && token->type == TOKEN_SIGN && token->text == text;
}

static bool IsWord(const Token *token, std::string_view text)
{
    return token && token->type == TOKEN_WORD && TokenIsOneOf(*token, {text});
}

// May a condition begin with the token in hand?
static bool IsConditionBegin(const Translation &work)
{
    return work.at > 0 && TokenIsOneOf(work.tokens[work.at - 1], {"where", "and", "or", "not", "(", "when"});
}

static bool IsConditionEnd(const Translation &work, size_t offset)
{
    const Token *token = TokenAt(work, offset);
    return !token || TokenIsOneOf(*token, {"and", "or", "order", "group", "limit", "then", ")", ";"});
}

// --- like

// Does it matter where characters begin? For "_", and for broken ones that are looked for behind "%".
static bool IsAboutCharacters(std::string_view pattern)
{
    size_t percent = std::string_view::npos;
    for (size_t i = 0; i < pattern.size(); i++) {
        if (pattern[i] == '\\')
            i++;
        else if (pattern[i] == '_')
            return true;
        else if (pattern[i] == '%' && percent == std::string_view::npos)
            percent = i;
    }
    return percent != std::string_view::npos && !Utf8IsClean(pattern.substr(percent));
}

// A backslash with nothing behind it stands for itself; PostgreSQL would refuse it.
static std::string PatternClosed(std::string pattern)
{
    size_t backslashes = 0;
    while (backslashes < pattern.size() && pattern[pattern.size() - 1 - backslashes] == '\\')
        backslashes++;
    if (backslashes % 2)
        pattern.push_back('\\');
    return pattern;
}

// The range of heads that a pattern's beginning allows; empty when it allows all.
static std::string HeadRange(Translation *work, std::string_view pattern)
{
    std::string begin = LikePrefix(pattern).substr(0, PATH_HEAD_SIZE);
    std::string end = PrefixEnd(begin);
    if (end.empty())
        return "";
    std::string first = ParameterAdd(work, begin);
    std::string last = ParameterAdd(work, end);
    return "path_head >= " + first + "::bytea and path_head < " + last + "::bytea and ";
}

// `column [not] like 'pattern'` with the column in hand.
static bool LikeTranslate(Translation *work)
{
    bool negated = IsWord(TokenAt(*work, 1), "not");
    size_t like = negated ? 2 : 1;
    const Token *literal = TokenAt(*work, like + 1);
    if (!work->composed || !IsWord(TokenAt(*work, like), "like") || !literal ||
        literal->type != TOKEN_LITERAL || !IsConditionBegin(*work) || !IsConditionEnd(*work, like + 2))
        return false;
    std::string column(work->tokens[work->at].text);
    std::string pattern = LiteralValue(literal->text);
    std::string range = column == "path" && !negated ? HeadRange(work, pattern) : "";
    std::string closed = ParameterAdd(work, PatternClosed(pattern));
    std::string condition;
    if (IsAboutCharacters(pattern)) {
        condition = (negated ? "not like_characters(" : "like_characters(") + column + ", " + closed + ")";
    } else {
        condition = column + (negated ? " not like " : " like ") + closed;
    }
    TokensReplace(work, like + 2, "(" + range + condition + ")");
    return true;
}

// --- path

// The comparison behind the word in hand: "=", "<", ">", "<=" or ">="; empty for anything else.
static std::string ComparisonAt(const Translation &work)
{
    const Token *first = TokenAt(work, 1);
    if (!first || first->type != TOKEN_SIGN)
        return "";
    std::string comparison(first->text);
    if (comparison != "=" && comparison != "<" && comparison != ">")
        return "";
    const Token *second = TokenAt(work, 2);
    bool adjoins = second && second->type == TOKEN_SIGN && second->begin == first->begin + 1;
    if (adjoins)
        comparison += second->text;
    bool is_known = comparison.size() == 1 || comparison == "<=" || comparison == ">=";
    return is_known ? comparison : "";
}

// The parameter that a column is compared with, and how many tokens the condition takes; empty when what stands there is
// something else.
static std::string ComparedWith(Translation *work, const std::string &comparison, size_t *count)
{
    const Token *value = comparison.empty() ? nullptr : TokenAt(*work, 1 + comparison.size());
    *count = 2 + comparison.size();
    if (!value || !IsConditionBegin(*work) || !IsConditionEnd(*work, *count))
        return "";
    if (work->composed)
        return value->type == TOKEN_LITERAL ? ParameterAdd(work, LiteralValue(value->text)) : "";
    return value->text[0] == '$' ? std::string(value->text) : "";
}

// `path = value` and the like: the head of a lesser path is not greater.
static bool PathTranslate(Translation *work)
{
    if (!IsWord(TokenAt(*work, 0), "path"))
        return false;
    size_t count = 0;
    std::string comparison = ComparisonAt(*work);
    std::string parameter = ComparedWith(work, comparison, &count);
    if (parameter.empty())
        return false;
    std::string head = comparison == "=" ? "=" : comparison[0] == '<' ? "<=" : ">=";
    TokensReplace(work, count,
                  "(path " + comparison + " " + parameter + "::bytea and path_head " + head + " substr(" +
                      parameter + "::bytea, 1, " + std::to_string(PATH_HEAD_SIZE) + "))");
    return true;
}

// `sharename = value`: albums are found by the hash of their name.
static bool AlbumTranslate(Translation *work)
{
    if (!IsWord(TokenAt(*work, 0), "sharename") || ComparisonAt(*work) != "=")
        return false;
    size_t count = 0;
    std::string parameter = ComparedWith(work, "=", &count);
    if (parameter.empty())
        return false;
    TokensReplace(work, count,
                  "(sharename = " + parameter + "::bytea and sha256(sharename) = sha256(" + parameter +
                      "::bytea))");
    return true;
}

// `conflict (path)`
static bool ConflictTranslate(Translation *work)
{
    if (!IsWord(TokenAt(*work, 0), "conflict") || !IsSign(TokenAt(*work, 1), "(") ||
        !IsWord(TokenAt(*work, 2), "path") || !IsSign(TokenAt(*work, 3), ")"))
        return false;
    TokensReplace(work, 4, "conflict (path_head, path_tail)");
    return true;
}

static bool LiteralTranslate(Translation *work)
{
    if (!work->composed || work->tokens[work->at].type != TOKEN_LITERAL)
        return false;
    TokensReplace(work, 1, ParameterAdd(work, LiteralValue(work->tokens[work->at].text)));
    return true;
}

// A quote that nothing closes, a parameter of the composer's own: PostgreSQL shall say what it thinks of it.
static bool IsUnderstood(const Translation &work)
{
    for (const Token &token : work.tokens) {
        if (token.type == TOKEN_LITERAL && std::count(token.text.begin(), token.text.end(), '\'') % 2)
            return false;
        if (work.composed && token.type == TOKEN_WORD && token.text[0] == '$')
            return false;
    }
    return true;
}

PostgresqlText PostgresqlTextOf(std::string_view sql, bool composed)
{
    Translation work = {sql, composed, SqlTokens(sql), 0, 0, {}};
    if (!IsUnderstood(work))
        return {std::string(sql), {}};
    while (work.at < work.tokens.size()) {
        if (!LikeTranslate(&work) && !PathTranslate(&work) && !AlbumTranslate(&work) &&
            !ConflictTranslate(&work) && !LiteralTranslate(&work))
            work.at++;
    }
    work.result.sql.append(sql, work.copied);
    return std::move(work.result);
}
