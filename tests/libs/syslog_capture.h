// Keeps what the libraries send to syslog; linked in, it takes the place of the C library's function.
#pragma once

#include <string>
#include <vector>

extern std::vector<std::string> syslog_lines;
