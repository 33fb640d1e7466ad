// A table is for eyes alone; everything else can be read by programs.
#include "list_form.h"

#include "command.h"

ListFormOptions ListFormDefine(CLI::App &command)
{
    CLI::Option *json = JsonOptionDefine(command)->description("print an array of JSON objects");
    CLI::Option *lines = command.add_flag("--json-lines")->description("print a JSON object on each line");
    CLI::Option *csv =
        command.add_flag("--csv")->description("print comma-separated values, as without a terminal");
    lines->excludes(json);
    csv->excludes(json)->excludes(lines);
    return {json, lines, csv};
}

ListForm ListFormChosen(const ListFormOptions &options, const Output &output)
{
    if (options.json->count() > 0)
        return LIST_JSON;
    if (options.json_lines->count() > 0)
        return LIST_JSON_LINES;
    return options.csv->count() > 0 || output.width == 0 ? LIST_CSV : LIST_TABLE;
}

TextForm TextFormOf(ListForm form)
{
    return form == LIST_TABLE ? TEXT_TABLE : TEXT_CSV;
}

JsonRows::JsonRows(const Output &where, ListForm form) : output(where), is_array(form == LIST_JSON)
{
}

void JsonRows::Add(const Json &row)
{
    if (is_array)
        output.out << (is_empty ? "[\n" : ",\n") << JsonDump(row, output, -1);
    else
        output.out << JsonDump(row, output, -1) << '\n';
    is_empty = false;
}

void JsonRows::Finish()
{
    if (is_array)
        output.out << (is_empty ? "[]\n" : "\n]\n");
}
