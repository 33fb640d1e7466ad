// Alignment is libsmartcols' work. It measures characters in the locale, which is set to UTF-8 meanwhile.
#include "text_table.h"

#include <ctype.h>
#include <libsmartcols/libsmartcols.h>
#include <locale.h>
#include <stdlib.h>

#include <memory>

#include "printable.h"

TextTable::TextTable(const Output &where, std::vector<TableColumn> what)
    : TextTable(where, std::move(what), where.width > 0 ? TEXT_TABLE : TEXT_TABS)
{
}

TextTable::TextTable(const Output &where, std::vector<TableColumn> what, TextForm how)
    : output(where), columns(std::move(what)), form(how)
{
}

static std::string Lower(std::string text)
{
    for (char &byte : text)
        byte = static_cast<char>(tolower(static_cast<unsigned char>(byte)));
    return text;
}

static std::string Quoted(const std::string &cell)
{
    if (cell.find_first_of(",\"") == std::string::npos)
        return cell;
    std::string quoted = "\"";
    for (char byte : cell)
        quoted += byte == '"' ? "\"\"" : std::string(1, byte);
    return quoted + '"';
}

void TextTable::LinePrint(const std::vector<std::string> &cells) const
{
    for (size_t i = 0; i < cells.size(); i++) {
        if (form == TEXT_CSV)
            output.out << (i ? "," : "") << Quoted(cells[i]);
        else
            output.out << (i ? "\t" : "") << cells[i];
    }
    output.out << '\n';
}

void TextTable::Add(const std::vector<std::string> &cells)
{
    std::vector<std::string> row;
    for (const std::string &cell : cells)
        row.push_back(PrintableText(cell));
    if (form == TEXT_TABLE) {
        rows.push_back(std::move(row));
        return;
    }
    if (form == TEXT_CSV && is_empty) {
        std::vector<std::string> heads;
        for (const TableColumn &column : columns)
            heads.push_back(Lower(column.header));
        LinePrint(heads);
    }
    is_empty = false;
    LinePrint(row);
}

using ScolsTable = std::unique_ptr<libscols_table, decltype(&scols_unref_table)>;

static std::string TableText(const ScolsTable &table)
{
    char *text = nullptr;
    std::string copy = scols_print_table_to_string(table.get(), &text) == 0 && text ? text : "";
    free(text);
    return copy;
}

// Texts share what the numbers leave.
static void ColumnsDefine(const ScolsTable &table, const std::vector<TableColumn> &columns)
{
    static constexpr double NARROW = 1;        // in columns: numbers are as wide as they are
    static constexpr double TEXT_SHARE = 0.2;  // of the terminal
    for (const TableColumn &column : columns) {
        int flags = column.is_number ? SCOLS_FL_RIGHT : SCOLS_FL_TRUNC;
        scols_table_new_column(table.get(), column.header, column.is_number ? NARROW : TEXT_SHARE, flags);
    }
}

static std::string TableBuild(const std::vector<TableColumn> &columns,
                              const std::vector<std::vector<std::string>> &rows, int width)
{
    ScolsTable table(scols_new_table(), scols_unref_table);
    scols_table_enable_noencoding(table.get(), 1);  // the cells are printable already
    scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_ALWAYS);
    scols_table_set_termwidth(table.get(), static_cast<size_t>(width));
    ColumnsDefine(table, columns);
    for (const auto &row : rows) {
        libscols_line *line = scols_table_new_line(table.get(), nullptr);
        for (size_t i = 0; i < row.size(); i++)
            scols_line_set_data(line, i, row[i].c_str());
    }
    return TableText(table);
}

void TextTable::Print()
{
    if (rows.empty())
        return;
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    locale_t before = uselocale(utf8);
    std::string text = TableBuild(columns, rows, output.width);
    uselocale(before);
    output.out << text << (text.ends_with('\n') ? "" : "\n");
}
