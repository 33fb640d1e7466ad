// The requests, as the indexing queue takes them, that make missed changes good.
#pragma once

#include <string>
#include <vector>

// A line for each of `changes` (see MissedNote) but the emptying of tables: each once, where it was missed first; the pass
// over the photos comes behind everything. `count` gets their number.
std::string MissedRequests(const std::vector<std::string> &changes, int *count);

// Those that empty tables; their number is added to `count`.
std::string MissedEmptyings(const std::vector<std::string> &changes, int *count);
