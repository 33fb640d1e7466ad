// nuboindex rebuild: whole shares from scratch.
#include "command.h"
#include "requests.h"

void RebuildCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command = app.add_subcommand("rebuild", "Index whole shares anew.");
    command->footer("\"music\" and \"video\" empty and refill the rows of that share in the media database, "
                    "\"all\" those of the music, video and photo shares. \"photo\" brings the photo database "
                    "and its albums in step with the photo share.");
    CLI::Option *share = command->add_option("SHARE")->description("music, video, photo or all (the default)");
    share->check(CLI::IsMember({"music", "video", "photo", "all"}));
    WaitOptions options = WaitOptionsDefine(*command);
    command->callback([&chosen, share, options] {
        std::string word = share->count() ? share->results().front() : "all";
        chosen = [word, wish = options.Wish()](const Output &output) {
            return RequestsQueue({"R:" + word + "\n"}, output, wish);
        };
    });
}
