// What a statement of ours is called on PostgreSQL. Paths are up to 4095 bytes long, more than an entry of an index
// may be: rows are found by `path_head`, the path's first bytes, and are unique by it and `path_tail`, a hash of the
// rest. And literals travel as parameters, because bytes that are no UTF-8 must not stand in a statement.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct PostgresqlText {
    std::string sql;
    std::vector<std::string> literals;  // the values of $1, $2 …; empty unless the statement was composed
};

// Translates: a comparison of `path` gets one of `path_head` beside it, `on conflict (path)` names the key, a `like`
// that PostgreSQL would read differently becomes a call of like_characters(). Only in a composed statement
// become literals parameters. A statement that is not understood stays as it is.
PostgresqlText PostgresqlTextOf(std::string_view sql, bool composed);
