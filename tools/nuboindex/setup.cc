// nuboindex setup: makes the databases, or brings an older schema up to date, before the daemon has to.
#include "command.h"
#include "nubodb/database.h"

static bool SetUp(DbName database, const char *name, const Output &output)
{
    std::string report;
    if (DbSetUp(database, &report) == 0) {
        output.out << name << " database " << report << '\n';
        return true;
    }
    (void)Complain(output, std::string("the ") + name + " database cannot be set up: " + report);
    return false;
}

static int SetupRun(const Output &output)
{
    bool media = SetUp(DB_MEDIA, "media", output);
    bool photo = SetUp(DB_PHOTO, "photo", output);
    return media && photo ? TOOL_OK : TOOL_FAILED;
}

void SetupCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("setup", "Make the databases, or bring older ones up to date.");
    command->footer(
        "On a server this makes the database that /etc/nubo/platform.conf names, where that is missing, "
        "and the schemas of this box in it. What is up to date is left as it is.");
    command->callback([&chosen] { chosen = SetupRun; });
}
