// Rows of text: an aligned table on a terminal, lines with tabs or comma-separated values elsewhere.
#pragma once

#include <string>
#include <vector>

#include "output.h"

struct TableColumn {
    const char *header;
    bool is_number;  // to the right, never shortened
};

enum TextForm {
    TEXT_TABLE,  // headers, and long texts shortened so that a row fits the terminal
    TEXT_TABS,   // no headers, nothing shortened
    TEXT_CSV,    // headers in lower case before the first row, nothing shortened
};

// Without a form it is a table on a terminal and tabs elsewhere. Cells may hold any bytes; a row stays one line.
class TextTable
{
  public:
    TextTable(const Output &output, std::vector<TableColumn> columns);
    TextTable(const Output &output, std::vector<TableColumn> columns, TextForm form);
    void Add(const std::vector<std::string> &cells);  // one per column
    void Print();                                     // to be called once, behind the last row

  private:
    void LinePrint(const std::vector<std::string> &cells) const;

    const Output &output;
    std::vector<TableColumn> columns;
    TextForm form;
    bool is_empty = true;
    std::vector<std::vector<std::string>> rows;  // kept for a table only
};
