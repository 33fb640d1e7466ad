// A statement is read far enough to tell its literals from its words; nothing here knows the grammar.
#include "nubodb/sql_tokens.h"

#include <ctype.h>
#include <strings.h>

static bool IsWordByte(char byte)
{
    auto value = static_cast<unsigned char>(byte);
    return value >= 0x80 || isalnum(value) || byte == '_' || byte == '$';
}

// The end of a quoted text that begins at `at`; a doubled quote belongs to it.
static size_t QuotedEnd(std::string_view sql, size_t at)
{
    char quote = sql[at++];
    for (; at < sql.size(); at++) {
        if (sql[at] != quote)
            continue;
        if (at + 1 < sql.size() && sql[at + 1] == quote)
            at++;
        else
            return at + 1;
    }
    return sql.size();
}

static size_t CommentEnd(std::string_view sql, size_t at)
{
    size_t end = sql[at] == '-' ? sql.find('\n', at) : sql.find("*/", at + 2);
    if (end == std::string_view::npos)
        return sql.size();
    return sql[at] == '-' ? end + 1 : end + 2;
}

std::vector<Token> SqlTokens(std::string_view sql)
{
    std::vector<Token> tokens;
    size_t at = 0;
    while (at < sql.size()) {
        size_t begin = at;
        TokenType type = TOKEN_SIGN;
        if (isspace(static_cast<unsigned char>(sql[at]))) {
            at++;
            continue;
        }
        std::string_view two = sql.substr(at, 2);
        if (two == "--" || two == "/*") {
            at = CommentEnd(sql, at);
            continue;
        }
        if (sql[at] == '\'') {
            type = TOKEN_LITERAL;
            at = QuotedEnd(sql, at);
        } else if (sql[at] == '"') {
            type = TOKEN_WORD;
            at = QuotedEnd(sql, at);
        } else if (IsWordByte(sql[at])) {
            type = TOKEN_WORD;
            while (at < sql.size() && IsWordByte(sql[at]))
                at++;
        } else {
            at++;
        }
        tokens.push_back({type, sql.substr(begin, at - begin), begin});
    }
    return tokens;
}

bool TokenIsOneOf(const Token &token, std::initializer_list<std::string_view> words)
{
    for (std::string_view word : words) {
        if (token.text.size() == word.size() && !strncasecmp(token.text.data(), word.data(), word.size()))
            return true;
    }
    return false;
}

std::string LiteralValue(std::string_view literal)
{
    std::string value;
    for (size_t i = 1; i + 1 < literal.size(); i++) {
        value.push_back(literal[i]);
        if (literal[i] == '\'')
            i++;
    }
    return value;
}
