// The sub-commands that queue requests, from the command line to the queue file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "common/paths.h"
#include "support/scratch.h"
#include "tool_run.h"

static std::string Queue()
{
    return ReadFile(INDEX_QUEUE_PATH);
}

static constexpr char QUEUED[] = "queued; the daemon is not running\n";

TEST(Add, AFileIsASingleRequestAndAFolderATree)
{
    std::string file = Scratch("/volume1/music/a.mp3"), folder = Scratch("/volume1/music");
    WriteFile(file, "");
    ToolResult result = RunTool({"add", file, folder});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "queued 2 requests; the daemon is not running\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Queue(), "a:" + file + "\nA:" + folder + "\n");
}

TEST(Add, OptionsChooseTheRequestAndThenThePathNeedNotExist)
{
    EXPECT_EQ(RunTool({"add", "--single", Scratch("/volume1")}).status, 0);
    EXPECT_EQ(RunTool({"add", "--tree", "/not/yet"}).status, 0);
    EXPECT_EQ(Queue(), "a:" + Scratch("/volume1") + "\nA:/not/yet\n");
    EXPECT_EQ(RunTool({"add", "--tree", "--single", "/x"}).status, 2);
}

TEST(Add, WhatIsWrongIsReportedAndTheRestIsQueued)
{
    std::string good = Scratch("/volume1/good.mp3"), pipe = Scratch("/volume1/pipe.mp3");
    WriteFile(good, "");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::string torn = Scratch("/volume1/line\nfeed.mp3");
    WriteFile(torn, "");
    ToolResult result = RunTool({"add", Scratch("/missing.mp3"), pipe, torn, "", good});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, QUEUED);
    EXPECT_EQ(Queue(), "a:" + good + "\n");
    EXPECT_EQ(result.err, "nuboindex: cannot add '" + Scratch("/missing.mp3") +
                              "': No such file or directory\n" + "nuboindex: cannot add '" + pipe +
                              "': neither a file nor a folder\n" + "nuboindex: cannot add '" +
                              Scratch("/volume1/line\\x0afeed.mp3") + "': a request cannot hold a line feed\n" +
                              "nuboindex: cannot add '': the path is empty\n");
}

TEST(Add, NothingGoodMeansNoQueueAndNoSignal)
{
    SleepingProcess daemon("nuboindexd");
    EXPECT_EQ(RunTool({"add", "/missing"}).status, 1);
    EXPECT_FALSE(std::ifstream(INDEX_QUEUE_PATH));
    EXPECT_EQ(waitpid(daemon.pid, nullptr, WNOHANG), 0);
}

TEST(Add, NamesThatLookLikeSyntaxAreOnlyNames)
{
    std::string folder = Scratch("/volume1/music");
    std::string expected;
    std::vector<std::string> arguments = {"add", "--"};
    for (const char *name :
         {"[Live]", "[a,b]", "{}", "list", "remove", "--json", "-x", "++", "%%", "a b", "'q\"", "\xff\xfe"}) {
        MakeFolder(folder + "/" + name);
        arguments.push_back(name);
        expected += "A:" + folder + "/" + name + "\n";
    }
    ASSERT_EQ(chdir(folder.c_str()), 0);
    setenv("PWD", folder.c_str(), 1);
    ToolResult result = RunTool(arguments);
    EXPECT_EQ(chdir("/"), 0);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(Queue(), expected);
}

TEST(Add, NamesOfSubCommandsAreOnlyNamesWithoutTheDoubleDashToo)
{
    EXPECT_EQ(RunTool({"add", "-t", "/1", "list", "[x]", "add"}).status, 0);
    std::string queue = Queue();
    EXPECT_NE(queue.find("/list\nA:"), std::string::npos) << queue;
    EXPECT_NE(queue.find("/[x]\nA:"), std::string::npos) << queue;
    EXPECT_TRUE(queue.ends_with("/add\n")) << queue;
}

TEST(Add, AThousandPathsKeepTheirOrder)
{
    std::vector<std::string> arguments = {"add", "-t"};
    std::string expected;
    for (int i = 0; i < 1000; i++) {
        arguments.push_back("/x/" + std::to_string(i));
        expected += "A:/x/" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(RunTool(arguments).out, "queued 1000 requests; the daemon is not running\n");
    EXPECT_EQ(Queue(), expected);
}

TEST(Add, TheLongestPathGoesThroughAndALongerOneIsRefused)
{
    std::string longest = "/" + std::string(4107, 'x');
    EXPECT_EQ(RunTool({"add", "-t", longest}).status, 0);
    EXPECT_EQ(Queue(), "A:" + longest + "\n");
    ToolResult result = RunTool({"add", "-t", longest + "x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("4112 bytes"), std::string::npos);
    EXPECT_EQ(Queue(), "A:" + longest + "\n");
}

TEST(Add, TheDaemonIsWokenOnceAndNothingMoreIsSaid)
{
    SleepingProcess daemon("nuboindexd");
    ToolResult result = RunTool({"add", "-t", "/x"});
    EXPECT_EQ(result.out, "queued\n");
    EXPECT_EQ(daemon.EndSignal(), SIGUSR1);
}

TEST(Add, AQueueThatCannotBeWrittenIsAnError)
{
    MakeFolder(INDEX_QUEUE_PATH);
    ToolResult result = RunTool({"add", "-t", "/x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "nuboindex: cannot append to " + std::string(INDEX_QUEUE_PATH) + ": Is a directory\n");
}

TEST(Remove, WhatCouldHaveBeenAFileIsForgottenBothWays)
{
    const struct {
        std::vector<std::string> arguments;
        const char *queue;
    } cases[] = {
        {{"/gone/a.jpg"}, "d:/gone/a.jpg\nD:/gone/a.jpg\n"},  // a photo's own row goes with "d" only
        {{"/gone/folder"}, "D:/gone/folder\n"},               // files without an extension have no rows
        {{"/gone/folder.x/"}, "D:/gone/folder.x\n"},
        {{"/gone.x/folder"}, "D:/gone.x/folder\n"},
        {{"--single", "/gone/folder"}, "d:/gone/folder\n"},
        {{"-t", "/gone/a.jpg"}, "D:/gone/a.jpg\n"},
    };
    for (const auto &c : cases) {
        unlink(INDEX_QUEUE_PATH);
        std::vector<std::string> arguments = {"remove"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(RunTool(arguments).status, 0);
        EXPECT_EQ(Queue(), c.queue);
    }
}

TEST(Remove, WhatStillExistsIsQueuedWithAWarning)
{
    std::string file = Scratch("/volume1/music/a.mp3");
    WriteFile(file, "");
    ToolResult result = RunTool({"remove", "-s", file});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("still exists"), std::string::npos);
    EXPECT_EQ(Queue(), "d:" + file + "\n");
}

TEST(Remove, AShareLinkInAPathIsReplaced)
{
    ASSERT_EQ(symlink("/volume1/music", MUSIC_SHARE_LINK), 0);
    EXPECT_EQ(RunTool({"remove", "-s", std::string(MUSIC_SHARE_LINK) + "/a.mp3"}).status, 0);
    EXPECT_EQ(Queue(), "d:/volume1/music/a.mp3\n");
}

TEST(Rename, NewComesBeforeOld)
{
    ToolResult result = RunTool({"rename", "/new//x", "/old/"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, QUEUED);
    EXPECT_EQ(Queue(), "N:/new/x:/old\n");
}

TEST(Rename, AColonIsRefusedWithTheWayRoundIt)
{
    ToolResult result = RunTool({"rename", "/new:1", "/old"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "nuboindex: cannot rename '/old' to '/new:1': a rename cannot hold a colon; remove the old "
              "path and add the new one instead\n");
    EXPECT_EQ(Queue(), "");
}

TEST(Rename, NeedsExactlyTwoPaths)
{
    EXPECT_EQ(RunTool({"rename", "/new"}).status, 2);
    EXPECT_EQ(RunTool({"rename", "/new", "/old", "/more"}).status, 2);
    EXPECT_EQ(RunTool({"rename", "", "/old"}).status, 1);
    EXPECT_EQ(Queue(), "");
}

TEST(Rebuild, KnowsTheSharesAndMeansAllOfThemByDefault)
{
    for (const char *share : {"music", "video", "photo", "all"})
        EXPECT_EQ(RunTool({"rebuild", share}).status, 0);
    EXPECT_EQ(RunTool({"rebuild"}).status, 0);
    EXPECT_EQ(Queue(), "R:music\nR:video\nR:photo\nR:all\nR:all\n");
    EXPECT_EQ(RunTool({"rebuild", "musik"}).status, 2);  // the daemon would take it for "all"
    EXPECT_EQ(RunTool({"rebuild", "music", "video"}).status, 2);
}

TEST(Refresh, KnowsPhotoOnly)
{
    EXPECT_EQ(RunTool({"refresh", "photo"}).status, 0);
    EXPECT_EQ(Queue(), "U:photo\n");
    EXPECT_EQ(RunTool({"refresh", "music"}).status, 2);
    EXPECT_EQ(RunTool({"refresh"}).status, 2);
}

TEST(Truncate, PassesTheNameOn)
{
    EXPECT_EQ(RunTool({"truncate", "music"}).status, 0);
    EXPECT_EQ(Queue(), "T:music\n");
    ToolResult result = RunTool({"truncate", ""});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "nuboindex: cannot truncate '': it is empty\n");
    EXPECT_EQ(RunTool({"truncate", "a\nR:all"}).status, 1);
    EXPECT_EQ(Queue(), "T:music\n");
}

TEST(CommandLine, HelpIsNoErrorAndGoesToTheOutput)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--help"}, {"add", "--help"}, {"rename", "-h"}}) {
        ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out.find("Usage"), std::string::npos);
        EXPECT_EQ(result.err, "");
    }
}

TEST(CommandLine, WhatIsNotUnderstoodEndsWithTwoAndChangesNothing)
{
    const std::vector<std::string> cases[] = {{},         {"ad"}, {"add"}, {"add", "--nonsense", "/x"},
                                              {"--json"}, {""}};
    for (const auto &arguments : cases) {
        ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.status, 2) << (arguments.empty() ? "" : arguments[0]);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
    EXPECT_EQ(Queue(), "");
}
