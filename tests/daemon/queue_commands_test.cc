// What each letter does, in which order, with which arguments.
#include "daemon/queue_commands.h"

#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include "common/features.h"
#include "common/paths.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

static int Execute(char letter, const std::string &argument)
{
    std::string copy = argument;
    return QueueCommandExecute(static_cast<unsigned char>(letter), copy.data());
}

TEST(QueueCommands, OnlyEightLettersAreKnown)
{
    supportphoto = 0;
    for (int letter = 0; letter < 256; letter++) {
        bool known = letter != 0 && strchr("ADNRTUad", letter);
        std::string argument = "none";
        EXPECT_EQ(QueueCommandExecute(static_cast<unsigned char>(letter), argument.data()), known ? 0 : -1)
            << letter;
    }
}

TEST(QueueCommands, TreeAddWalksTheSubtree)
{
    WriteFile(Scratch("/volume1/music/a.m3u"), "");
    Execute('A', Scratch("/volume1/music"));
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDirSave " + Scratch("/volume1/music"),
                                     "MediaInfoDBSave 3 " + Scratch("/volume1/music/a.m3u")}));
}

TEST(QueueCommands, TreeDeleteGoesByPrefixOnceThePathIsGone)
{
    Execute('D', "/volume1/music/gone");
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDelete 5 /volume1/music/gone"});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(QueueCommands, DeleteOfAnExistingPathOnlyLogs)
{
    std::string file = Scratch("/volume1/music/here.ogg");
    WriteFile(file, "");
    for (char letter : {'d', 'D'}) {
        for (const std::string &path : {file, Scratch("/volume1/music")}) {
            log_lines.clear();
            Execute(letter, path);
            EXPECT_EQ(log_lines, Lines{"queue_commands (#) Dir or File exists (" + path +
                                       "). Skip remove it from database."});
            EXPECT_EQ(platform.calls, Lines{}) << letter;
        }
    }
}

TEST(QueueCommands, SingleDeleteUsesTheHandlerOfTheExtension)
{
    Execute('d', "/volume1/music/gone.ogg");
    Execute('d', "/volume1/video/gone.avi");
    Execute('d', "/volume1/music/gone.txt");
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDelete 0 /volume1/music/gone.ogg",
                                     "MediaInfoDBDelete 1 /volume1/video/gone.avi"}));
}

TEST(QueueCommands, SingleAddOfAFolderSavesOnlyItsOwnRow)
{
    WriteFile(Scratch("/volume1/music/x/a.m3u"), "");
    Execute('a', Scratch("/volume1/music/x"));
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDirSave " + Scratch("/volume1/music/x")});
}

TEST(QueueCommands, RenameOfAFileDeletesTheOldAndAddsTheNew)
{
    std::string now = Scratch("/volume1/music/new.m3u");
    WriteFile(now, "");
    Execute('N', now + ":/volume1/music/old.m3u");
    EXPECT_EQ(platform.calls,
              (Lines{"MediaInfoDBDelete 3 /volume1/music/old.m3u", "MediaInfoDBSave 3 " + now}));
}

TEST(QueueCommands, RenameOfAFolderDeletesTheOldTreeAndWalksTheNew)
{
    std::string now = Scratch("/volume1/music/new");
    WriteFile(now + "/a.m3u", "");
    Execute('N', now + ":/volume1/music/old");
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDelete 5 /volume1/music/old", "MediaInfoDBDirSave " + now,
                                     "MediaInfoDBSave 3 " + now + "/a.m3u"}));
}

TEST(QueueCommands, RenameWithOnePathLogsTheMissingOldAndAddsTheNew)
{
    std::string file = Scratch("/volume1/music/new.m3u");
    WriteFile(file, "");
    Execute('N', file);
    EXPECT_EQ(log_lines, Lines{"index_file (#) Bad parameter."});
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + file});

    log_lines.clear();
    platform.calls.clear();
    Execute('N', Scratch("/volume1/music"));
    EXPECT_EQ(log_lines, Lines{"index_path (#) Bad parameter."});
    EXPECT_EQ(platform.calls.front(), "MediaInfoDBDirSave " + Scratch("/volume1/music"));
}

TEST(QueueCommands, RenameWithoutAnyPathLogsBoth)
{
    for (const char *argument : {"", ":", ":::"}) {
        log_lines.clear();
        Execute('N', argument);
        EXPECT_EQ(log_lines, (Lines{"index_file (#) Bad parameter.", "index_file (#) Bad parameter."}));
        EXPECT_EQ(platform.calls, Lines{});
    }
}

TEST(QueueCommands, RenameSkipsEmptyPiecesAndIgnoresAThird)
{
    std::string now = Scratch("/volume1/music/new.m3u");
    WriteFile(now, "");
    Execute('N', ":" + now + "::/volume1/old.m3u:/volume1/third.m3u");
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDelete 3 /volume1/old.m3u", "MediaInfoDBSave 3 " + now}));
}

static void MakeShares()
{
    static const struct {
        const char *link;
        const char *target;
    } shares[] = {{MUSIC_SHARE_LINK, "/volume1/music"},
                  {VIDEO_SHARE_LINK, "/volume1/video"},
                  {PHOTO_SHARE_LINK, "/volume1/photo"}};
    for (const auto &share : shares) {
        MakeFolder(Scratch(share.target));
        ASSERT_EQ(symlink(Scratch(share.target).c_str(), share.link), 0);
    }
}

TEST(QueueCommands, RebuildWordsChooseTheShares)
{
    MakeShares();
    auto rebuilt = [](const char *share) {
        return Lines{"MediaInfoDBDelete 5 " + Scratch(share), "MediaInfoDBDirSave " + Scratch(share)};
    };
    Lines all;
    for (const char *share : {"/volume1/music", "/volume1/video", "/volume1/photo"})
        for (const std::string &call : rebuilt(share))
            all.push_back(call);

    const struct {
        const char *word;
        Lines calls;
    } cases[] = {
        {"music", rebuilt("/volume1/music")},
        {"video", rebuilt("/volume1/video")},
        {"all", all},
        {"", all},
        {"Music", all},
        {"photo", {}},  // photos are switched off
    };
    for (const auto &c : cases) {
        platform.calls.clear();
        Execute('R', c.word);
        EXPECT_EQ(platform.calls, c.calls) << c.word;
    }
}

TEST(QueueCommands, TruncatePassesTheNameThroughAndIgnoresTheResult)
{
    platform.results["NUBOTruncateTable"] = -1;
    EXPECT_EQ(Execute('T', "anything 'at' all"), 0);
    EXPECT_EQ(platform.calls, Lines{"NUBOTruncateTable anything 'at' all"});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(QueueCommands, RefreshUnderstandsOnlyPhoto)
{
    supportphoto = 1;
    for (const char *word : {"music", "", "photos", "PHOTO"})
        Execute('U', word);
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(QueueCommands, RefreshWithoutTheShareLinkLogs)
{
    supportphoto = 1;
    Execute('U', "photo");
    EXPECT_EQ(log_lines, Lines{std::string("queue_commands (#) Failed to read link of ") + PHOTO_SHARE_LINK});
}

TEST(QueueCommands, PhotosSwitchedOffMeansNoPhotoWorkAtAll)
{
    MakeShares();
    // Only the position of the share name counts, so these are photo share paths; neither exists.
    for (const char *path : {"/volume1/photo/a.m3u", "/volume1/photo/sub"}) {
        Execute('A', path);
        Execute('D', path);
        Execute('a', path);
        Execute('d', path);
        Execute('N', std::string(path) + ":/volume1/photo/old.m3u");
    }
    Execute('R', "photo");
    Execute('U', "photo");
    for (const std::string &call : platform.calls) {
        EXPECT_EQ(call.find("Photo"), std::string::npos) << call;
        EXPECT_EQ(call.find("NLIBExec"), std::string::npos) << call;
    }
    EXPECT_EQ(log_lines, Lines{});
}
