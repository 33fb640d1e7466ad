// The words, literals and signs of a statement.
#pragma once

#include <stddef.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

enum TokenType { TOKEN_WORD, TOKEN_LITERAL, TOKEN_SIGN };

struct Token {
    TokenType type;
    std::string_view text;  // a literal with its quotes; a sign is one byte
    size_t begin;           // where it stands in the statement
};

// Blanks and comments are left out. The tokens point into `sql`.
std::vector<Token> SqlTokens(std::string_view sql);

// Is the token one of these words, in any case?
bool TokenIsOneOf(const Token &token, std::initializer_list<std::string_view> words);

// What a literal stands for: without its quotes, the doubled ones inside made one.
std::string LiteralValue(std::string_view literal);
