// Rows of text: an aligned table on a terminal, lines with tabs elsewhere.
#pragma once

#include <string>
#include <vector>

#include "output.h"

struct TableColumn {
    const char *header;
    bool is_number;  // to the right, never shortened
};

// On a terminal: headers, and long texts shortened so that a row fits the width. Elsewhere: no headers, nothing
// shortened. Cells may hold any bytes.
class TextTable
{
  public:
    TextTable(const Output &output, std::vector<TableColumn> columns);
    void Add(const std::vector<std::string> &cells);  // one per column
    void Print();                                     // to be called once, behind the last row

  private:
    const Output &output;
    std::vector<TableColumn> columns;
    std::vector<std::vector<std::string>> rows;  // kept for a terminal only
};
