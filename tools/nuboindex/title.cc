// nuboindex title: the title of a photo in the web gallery.
#include "command.h"
#include "photo_text.h"

void TitleCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("title", "Give a photo of the photo share a title.");
    command->footer("One line of 254 bytes at most. The daemon takes it over when it gets to the request.");
    CLI::Option *path = command->add_option("PATH")->description("a photo")->required();
    CLI::Option *text = command->add_option("TEXT")->description("the title")->required();
    command->callback([&chosen, path, text] {
        chosen = [path, text](const Output &output) {
            return PhotoTextSet("title", "NUBOPHOTO:TITLE", path->results().front(), TextArgument(*text),
                                output);
        };
    });
}
