// Batches through the queue file: every command, every kind of broken line, and who is told afterwards. The pending
// queue is executed at start-up, so no test waits for the quiet period.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>

#include "system/box.h"
#include "system/rows.h"

namespace fs = std::filesystem;

// Subtitles are listed without being read: the cheapest rows.
static void Subtitle(const std::string &path)
{
    FileWrite(path, "1\n00:00:00,000 --> 00:00:01,000\nText\n");
}

static void ThreeShares()
{
    for (const char *share : {"music", "video", "photo"})
        Subtitle(std::string("/volume1/") + share + "/a.srt");
}

TEST(Batch, CapitalAAddsATree)
{
    Subtitle("/volume1/video/One/a.srt");
    Subtitle("/volume1/video/One/Two/b.SRT");
    FileWrite("/volume1/video/One/readme.txt", "no media");
    Index({"A:/volume1/video/One"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/One/Two/b.SRT", "/volume1/video/One/a.srt"}));
    EXPECT_EQ(Paths("directory"), Texts({"/volume1/video/One", "/volume1/video/One/Two"}));
    EXPECT_EQ(Log(), Texts());
}

TEST(Batch, CapitalAAddsASingleFile)
{
    Subtitle("/volume1/video/a.srt");
    Index({"A:/volume1/video/a.srt"});
    Row row = RowOf("video", "/volume1/video/a.srt");
    EXPECT_EQ(row["title"], "a");
    EXPECT_EQ(row["album"], "video");
    EXPECT_EQ(row["filesize"], "37");
}

TEST(Batch, SmallAAddsTheFileOrTheFolderAlone)
{
    Subtitle("/volume1/video/One/a.srt");
    Subtitle("/volume1/video/b.srt");
    Index({"a:/volume1/video/One", "a:/volume1/video/b.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/b.srt"}));
    EXPECT_EQ(Paths("directory"), Texts({"/volume1/video/One"}));
}

TEST(Batch, CapitalDRemovesATreeThatIsGone)
{
    Subtitle("/volume1/video/One/a.srt");
    Subtitle("/volume1/video/One more/b.srt");
    Index({"A:/volume1/video"});
    fs::remove_all("/volume1/video/One");
    Index({"D:/volume1/video/One"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/One more/b.srt"}));
    EXPECT_EQ(Paths("directory"), Texts({"/volume1/video", "/volume1/video/One more"}));
}

TEST(Batch, DeletionsOfWhatIsStillThereAreRefused)
{
    Subtitle("/volume1/video/One/a.srt");
    Index({"A:/volume1/video/One", "D:/volume1/video/One", "d:/volume1/video/One/a.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/One/a.srt"}));
    EXPECT_EQ(
        Log(),
        Texts({"queue_commands (#) Dir or File exists (/volume1/video/One). Skip remove it from database.",
               "queue_commands (#) Dir or File exists (/volume1/video/One/a.srt). Skip remove it from "
               "database."}));
}

TEST(Batch, SmallDRemovesAFileThatIsGone)
{
    Subtitle("/volume1/video/a.srt");
    Subtitle("/volume1/video/b.srt");
    Index({"A:/volume1/video"});
    fs::remove("/volume1/video/a.srt");
    Index({"d:/volume1/video/a.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/b.srt"}));
}

TEST(Batch, NRenamesAFile)
{
    Subtitle("/volume1/video/old.srt");
    Index({"A:/volume1/video"});
    fs::rename("/volume1/video/old.srt", "/volume1/video/new.srt");
    Index({"N:/volume1/video/new.srt:/volume1/video/old.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/new.srt"}));
}

TEST(Batch, NRenamesAFolder)
{
    Subtitle("/volume1/video/Old/Deep/a.srt");
    Index({"A:/volume1/video/Old"});
    fs::rename("/volume1/video/Old", "/volume1/video/New");
    Index({"N:/volume1/video/New:/volume1/video/Old"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/New/Deep/a.srt"}));
    EXPECT_EQ(Paths("directory"), Texts({"/volume1/video/New", "/volume1/video/New/Deep"}));
}

TEST(Batch, NWithOnePathReportsTheMissingOneAndAddsTheOther)
{
    Subtitle("/volume1/video/a.srt");
    Index({"N:/volume1/video/a.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
    EXPECT_EQ(Log(), Texts({"index_file (#) Bad parameter."}));
}

TEST(Batch, RRebuildsTheShareOfItsWord)
{
    static const struct {
        const char *line;
        Texts paths;
    } cases[] = {
        {"R:music", {"/volume1/music/a.srt"}},
        {"R:video", {"/volume1/video/a.srt"}},
        {"R:all", {"/volume1/music/a.srt", "/volume1/photo/a.srt", "/volume1/video/a.srt"}},
        {"R:", {"/volume1/music/a.srt", "/volume1/photo/a.srt", "/volume1/video/a.srt"}},
        {"R:Music", {"/volume1/music/a.srt", "/volume1/photo/a.srt", "/volume1/video/a.srt"}},  // another word
    };
    ThreeShares();
    for (const auto &c : cases) {
        Index({"T:video", "T:directory", c.line});
        EXPECT_EQ(Paths("video"), c.paths) << c.line;
    }
}

TEST(Batch, RebuildForgetsWhatIsGone)
{
    ThreeShares();
    Index({"R:all"});
    fs::remove("/volume1/music/a.srt");
    Index({"R:music"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/photo/a.srt", "/volume1/video/a.srt"}));
}

TEST(Batch, TEmptiesOneTableAndNoUnknownOne)
{
    ThreeShares();
    Index({"R:all", "T:music", "T:nonsense; drop table video", "T:"});
    EXPECT_EQ(Paths("video").size(), 3u);
    Index({"T:video"});
    EXPECT_EQ(Paths("video"), Texts());
    EXPECT_EQ(Paths("directory").size(), 3u);
}

TEST(Batch, UUnderstandsOnlyItsOneWord)
{
    ThreeShares();
    Index({"U:music", "U:", "U:everything"});
    EXPECT_EQ(MediaDump(), "");
    EXPECT_EQ(Log(), Texts());
}

TEST(Batch, MalformedLinesAreReportedAndSkipped)
{
    Subtitle("/volume1/video/a.srt");
    Subtitle("/volume1/video/b.srt");
    Index({"a:/volume1/video/a.srt", "a", "", "/volume1/video/x.srt", "A/volume1/video", "X:/volume1/video",
           "z:", "::", "\xff:/volume1", "a:/volume1/video/b.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt", "/volume1/video/b.srt"}));
    EXPECT_EQ(Log(), Texts({
                         R"(index_queue (#) Bad format [a\n].)",
                         R"(index_queue (#) Bad format [\n].)",
                         R"(index_queue (#) Bad format [/volume1/video/x.srt\n].)",
                         R"(index_queue (#) Bad format [A/volume1/video\n].)",
                         "index_queue (#) Bad format [X:/volume1/video].",
                         "index_queue (#) Bad format [z:].",
                         "index_queue (#) Bad format [::].",
                         "index_queue (#) Bad format [\xff:/volume1].",
                     }));
}

TEST(Batch, MessagesReachTheSystemLogAsErrors)
{
    Index({"nonsense"});
    Texts lines = RawLog();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].find("nuboindexd[-] user.err index_queue ("), 0u) << lines[0];
}

TEST(Batch, MissingLineFeedOnlyWarns)
{
    Subtitle("/volume1/video/a.srt");
    FileWrite(QUEUE, "a:/volume1/video/a.srt");
    Index({});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
    EXPECT_EQ(Log(), Texts({"index_queue (#) Warning! No new line here."}));
}

TEST(Batch, LinesAreTakenUpTo4111Characters)
{
    std::string longest = "z:" + std::string(4111 - 3, 'x');  // and the line feed
    Index({longest, longest + 'x'});
    EXPECT_EQ(Log(), Texts({
                         "index_queue (#) Bad format [" + longest + "].",
                         "index_queue (#) Warning! No new line here.",
                         "index_queue (#) Bad format [" + longest + "x].",
                         R"(index_queue (#) Bad format [\n].)",
                     }));
}

TEST(Batch, LongerLinesAreSplitAndTheRestRejected)
{
    Subtitle("/volume1/video/a.srt");
    Index({"a:/" + std::string(4111 - 3, 'x') + "rest of it", "a:/volume1/video/a.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
    EXPECT_EQ(Log(), Texts({"index_queue (#) Warning! No new line here.",
                            R"(index_queue (#) Bad format [rest of it\n].)"}));
}

TEST(Batch, ManyTimesTooLongLineDoesNoHarm)
{
    Subtitle("/volume1/video/a.srt");
    Index({std::string(1000000, 'a'), "a:/volume1/video/a.srt"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt"}));
    EXPECT_EQ(Log().size(), 1000000u / 4111 + 1);
}

TEST(Batch, EmptyQueueTellsTheMediaServerAlone)
{
    BecomeMusicServer();
    FileWrite(QUEUE, "");
    Index({});
    EXPECT_FALSE(Exists(QUEUE));
    EXPECT_FALSE(SignalArrived(SIGHUP));
    EXPECT_EQ(Log(), Texts());
}

TEST(Batch, ChangedTablesAreToldToTheMusicServer)
{
    Subtitle("/volume1/video/a.srt");
    BecomeMusicServer();
    Index({"a:/volume1/video/a.srt"});
    EXPECT_TRUE(SignalArrived(SIGHUP, 5));
}

TEST(Batch, FoldersAloneAreNoChangeForTheMusicServer)
{
    BecomeMusicServer();
    Index({"a:/volume1/video"});
    EXPECT_EQ(Paths("directory"), Texts({"/volume1/video"}));
    EXPECT_FALSE(SignalArrived(SIGHUP));
}

TEST(Batch, RecycleBinAndAttributeFoldersAreSkipped)
{
    Subtitle("/volume1/video/@eaDir/x.srt");
    Subtitle("/volume1/video/Deep/@eaDir/y.srt");
    Subtitle("/volume1/video/#recycle/z.srt");
    Subtitle("/volume1/video/Deep/#recycle/kept.srt");
    Subtitle("/volume1/video/Deep/._hidden.srt");
    Index({"A:/volume1/video"});
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/Deep/#recycle/kept.srt"}));
}

TEST(Batch, NamesAreBytes)
{
    const Texts names = {"/volume1/video/Caf\xe9.srt", "/volume1/video/\xff\xfe\x01.srt",
                         "/volume1/video/été.srt", "/volume1/video/it's 100%_\\ \"so\".srt",
                         "/volume1/video/tab\there.srt"};
    for (const std::string &name : names)
        Subtitle(name);
    Index({"A:/volume1/video"});
    Texts expected = names;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Paths("video"), expected);
    EXPECT_EQ(RowOf("video", names[0])["title"], "Café");  // texts become UTF-8, paths stay
    fs::remove(names[0]);
    Index({"d:" + names[0]});
    EXPECT_EQ(Paths("video").size(), names.size() - 1);
}

TEST(Batch, FiftyThousandFilesInOneRequest)
{
    for (int folder = 0; folder < 50; folder++) {
        std::string path = "/volume1/video/" + std::to_string(folder);
        fs::create_directories(path);
        for (int i = 0; i < 1000; i++)
            FileWrite(path + '/' + std::to_string(i) + ".srt", "");
    }
    double start = Clock();
    Index({"A:/volume1/video"});
    double seconds = Clock() - start;
    EXPECT_EQ(Paths("video").size(), 50000u);
    EXPECT_LT(seconds, NUBO_SANITIZED ? 120 : 60);
    RecordProperty("seconds", std::to_string(seconds));
}
