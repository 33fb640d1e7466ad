// One request as a line of the indexing queue: letter, colon, argument, line feed. The format knows no quoting,
// so some arguments cannot be expressed.
#pragma once

#include <stddef.h>

#include <optional>
#include <string>

// The daemon takes a line in one piece when it has no more bytes than this, the line feed included.
static constexpr size_t QUEUE_LINE_MAX = 4111;

// The line, or nothing and the reason: a line feed in the argument, a line that is too long, no argument where
// the letter needs one (all but "R").
std::optional<std::string> QueueLine(char letter, const std::string &argument, std::string &reason);

// The "N" line. A colon in either path cannot be expressed too.
std::optional<std::string> QueueRenameLine(const std::string &new_path, const std::string &old_path,
                                           std::string &reason);
