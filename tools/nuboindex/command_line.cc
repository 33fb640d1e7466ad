// The command line as a whole: its sub-commands, its help, its exit status.
#include "command.h"

#include <algorithm>

static constexpr char DESCRIPTION[] = "Asks the media indexing daemon for work and shows what it has indexed.";
static constexpr char FOOTER[] =
    "Exit status: 0 done, 1 failed at least in part, 2 command line not understood.";

CLI::Option *PathsDefine(CLI::App &command, const char *name, const char *help)
{
    return command.add_option(name)->description(help)->required()->expected(1, -1)->allow_extra_args();
}

CLI::Option *JsonOptionDefine(CLI::App &command)
{
    return command.add_flag("--json")->description("print JSON");
}

static void CommandsDefine(CLI::App &app, CommandRun &chosen)
{
    app.require_subcommand(1);
    app.footer(FOOTER);
    AddCommandDefine(app, chosen);
    RemoveCommandDefine(app, chosen);
    RenameCommandDefine(app, chosen);
    RebuildCommandDefine(app, chosen);
    RefreshCommandDefine(app, chosen);
    SyncCommandDefine(app, chosen);
    CheckCommandDefine(app, chosen);
    TruncateCommandDefine(app, chosen);
    TitleCommandDefine(app, chosen);
    DescribeCommandDefine(app, chosen);
    PublishCommandDefine(app, chosen);
    StatusCommandDefine(app, chosen);
    ListCommandDefine(app, chosen);
    ShowCommandDefine(app, chosen);
    FailuresCommandDefine(app, chosen);
    DoctorCommandDefine(app, chosen);
    RetryCommandDefine(app, chosen);
    SetupCommandDefine(app, chosen);
    WatchCommandDefine(app, chosen);
}

// The parser gives some names a meaning of their own: "[a,b]" is a list, "++" ends a sub-command, and "--" does not
// reach behind the first path. "./" in front keeps them paths. The parser takes its arguments in reverse order.
static std::vector<std::string> ArgumentsFor(int argc, const char *const *argv)
{
    std::vector<std::string> arguments;
    bool only_paths = false;
    for (int i = 1; i < argc; i++) {
        std::string argument = argv[i];
        if (argument == "--" && !only_paths) {
            only_paths = true;
            continue;
        }
        bool is_special =
            argument == "++" || argument.starts_with('[') || (only_paths && argument.starts_with('-'));
        arguments.push_back(is_special ? "./" + argument : argument);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::string TextArgument(const CLI::Option &option)
{
    std::string text = option.results().front();
    bool is_changed = text == "./++" || text.starts_with("./[") || text.starts_with("./-");
    return is_changed ? text.substr(2) : text;
}

static int Parsed(CLI::App &app, int argc, const char *const *argv, const Output &output)
{
    try {
        app.parse(ArgumentsFor(argc, argv));
        return -1;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0)
            return app.exit(error, output.out, output.err);
        bool is_unknown = app.get_subcommands().empty() && argc > 1;
        (void)Complain(output, is_unknown ? std::string("no such sub-command: ") + argv[1] : error.what());
        output.err << "Run 'nuboindex --help' or 'nuboindex SUBCOMMAND --help'.\n";
        return TOOL_USAGE;
    }
}

int ToolRun(int argc, const char *const *argv, const Output &output)
{
    try {
        CLI::App app(DESCRIPTION, "nuboindex");
        CommandRun chosen;
        CommandsDefine(app, chosen);
        int status = Parsed(app, argc, argv, output);
        if (status < 0)
            status = chosen(output);
        output.out.flush();
        if (!output.out)
            return Complain(output, "the output could not be written");
        return status;
    } catch (const std::exception &error) {
        return Complain(output, error.what());
    }
}
