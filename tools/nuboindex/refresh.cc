// nuboindex refresh: see every file of a share again without emptying its rows.
#include "command.h"
#include "requests.h"

void RefreshCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("refresh", "Read every photo of the photo share again.");
    command->footer("Rows of photos that are gone stay; \"rebuild photo\" removes them.");
    CLI::Option *share =
        command->add_option("SHARE")->description("photo; the daemon refreshes no other share");
    share->required()->check(CLI::IsMember({"photo"}));
    WaitOptions options = WaitOptionsDefine(*command);
    command->callback([&chosen, options] {
        chosen = [wish = options.Wish()](const Output &output) {
            return RequestsQueue({"U:photo\n"}, output, wish);
        };
    });
}
