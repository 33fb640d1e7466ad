// nuboindex describe: the description of a photo in the web gallery.
#include "command.h"
#include "photo_text.h"

void DescribeCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("describe", "Give a photo of the photo share a description.");
    command->footer("One line of 254 bytes at most. The daemon takes it over when it gets to the request.");
    CLI::Option *path = command->add_option("PATH")->description("a photo")->required();
    CLI::Option *text = command->add_option("TEXT")->description("the description")->required();
    command->callback([&chosen, path, text] {
        chosen = [path, text](const Output &output) {
            return PhotoTextSet("describe", "NUBOPHOTO:DESC", path->results().front(), TextArgument(*text),
                                output);
        };
    });
}
