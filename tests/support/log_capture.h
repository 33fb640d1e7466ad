// Replaces the daemon's log: keeps every message of the running test, its line number replaced by "#".
#pragma once

#include <string>
#include <vector>

// "index_queue (#) Bad format [x]." Cleared at the start of every test.
extern std::vector<std::string> log_lines;
