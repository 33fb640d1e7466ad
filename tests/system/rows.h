// What stands in the databases, read with the engine itself.
#pragma once

#include <map>
#include <string>
#include <vector>

using Row = std::map<std::string, std::string>;  // column name to text

// All rows of a table of the media database, in the order of their paths' bytes.
std::vector<Row> Rows(const std::string &table);

// All rows of a table of the photo database, in the order of `column`'s bytes.
std::vector<Row> PhotoRows(const std::string &table, const std::string &column);

// One file's row; empty when it has none.
Row RowOf(const std::string &table, const std::string &path);

// The paths of a table.
std::vector<std::string> Paths(const std::string &table);

// Every row of all media tables but for the numbers that the engine gives out, as text to be compared.
std::string MediaDump();

// Takes all that the box knows away, as if it were new; and back again what DatabasesSetAside took, in place of what
// came meanwhile. No daemon may run.
void DatabasesRemove();
void DatabasesSetAside();
void DatabasesBringBack();
