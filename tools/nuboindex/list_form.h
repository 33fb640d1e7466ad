// The forms in which rows are listed, and the options that choose one.
#pragma once

#include <CLI/CLI.hpp>

#include "json_text.h"
#include "output.h"
#include "text_table.h"

enum ListForm {
    LIST_TABLE,       // on a terminal
    LIST_CSV,         // elsewhere
    LIST_JSON,        // one array with one row a line
    LIST_JSON_LINES,  // one object a line
};

struct ListFormOptions {
    CLI::Option *json, *json_lines, *csv;
};

// No two of them may be given together.
ListFormOptions ListFormDefine(CLI::App &command);

ListForm ListFormChosen(const ListFormOptions &options, const Output &output);

// TEXT_TABLE or TEXT_CSV, for the forms that are not JSON.
TextForm TextFormOf(ListForm form);

// Rows as JSON, printed one by one, so that a large list is never held as a whole.
class JsonRows
{
  public:
    JsonRows(const Output &output, ListForm form);
    void Add(const Json &row);
    void Finish();  // to be called once, behind the last row

  private:
    const Output &output;
    bool is_array;
    bool is_empty = true;
};
