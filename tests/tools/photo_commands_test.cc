// The sub-commands for the photo gallery: title, describe, publish, list albums.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "common/paths.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"
#include "tool_run.h"

using nlohmann::json;

static const std::string ALBUM_HEAD = "album,public,users,id\n";

static constexpr char QUEUED[] = "queued; the daemon is not running\n";

struct PhotoCommands : testing::Test {
    std::string share = Scratch("/volume1/photo"), photo = share + "/A/b.jpg";

    void SetUp() override
    {
        NUBOIndexMusicTableDirtySet(
            0);  // the library then looks whether its databases are still the same files
        MakeFolder(share);
        ASSERT_EQ(symlink(share.c_str(), PHOTO_SHARE_LINK), 0);
        WriteFile(photo, "a photo");
    }

    std::string Place(const std::string &key) const
    {
        return share + "/A/@eaDir/b.jpg@NUBOPHOTO." + key;
    }
};

static std::string Queue()
{
    return ReadFile(INDEX_QUEUE_PATH);
}

static void AlbumSave(int id, const std::string &name, bool is_public, bool is_sub)
{
    std::string statement = "Insert into photo_share values(" + std::to_string(id) + ", '" + name +
                            "', '', '', '" + (is_public ? "true" : "false") + "', 0, '', 'true', '" +
                            (is_sub ? "true" : "false") + "', '1');";
    ASSERT_EQ(PhotoDBExec(statement.c_str()), 1) << name;
}

TEST_F(PhotoCommands, ATextIsWrittenAndThePhotoQueued)
{
    ToolResult result = RunTool({"title", photo, "Summer, 'the' \"best\" \xc3\xa4"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, QUEUED);
    EXPECT_EQ(ReadFile(Place("TITLE")), "Summer, 'the' \"best\" \xc3\xa4");
    EXPECT_EQ(RunTool({"describe", photo, "At the lake"}).status, 0);
    EXPECT_EQ(ReadFile(Place("DESC")), "At the lake");
    EXPECT_EQ(Queue(), "a:" + photo + "\na:" + photo + "\n");
}

TEST_F(PhotoCommands, ALaterTextReplacesOneThatStillWaits)
{
    EXPECT_EQ(RunTool({"title", photo, "A long first title"}).status, 0);
    EXPECT_EQ(RunTool({"title", photo, "Second"}).status, 0);
    EXPECT_EQ(ReadFile(Place("TITLE")), "Second");
}

TEST_F(PhotoCommands, TheShareLinkMeansTheSamePhoto)
{
    EXPECT_EQ(RunTool({"title", std::string(PHOTO_SHARE_LINK) + "/A/b.jpg", "x"}).status, 0);
    EXPECT_EQ(Queue(), "a:" + photo + "\n");
}

TEST_F(PhotoCommands, TextsThatLookLikeSyntaxAreOnlyTexts)
{
    for (const char *text : {"[Live]", "[a,b]", "{}", "++", "%%", "list", " ", "./x"}) {
        EXPECT_EQ(RunTool({"title", photo, text}).status, 0) << text;
        EXPECT_EQ(ReadFile(Place("TITLE")), text);
    }
    EXPECT_EQ(RunTool({"title", "--", photo, "-5 degrees"}).status, 0);
    EXPECT_EQ(ReadFile(Place("TITLE")), "-5 degrees");
}

TEST_F(PhotoCommands, ATextThatWouldNotBeKeptWholeIsRefused)
{
    const struct {
        std::string text, reason;
    } cases[] = {
        {"", "an empty text changes nothing"},
        {"two\nlines", "only the first line would be kept; a text cannot hold a line feed"},
        {std::string(255, 'x'), "the text has 255 bytes; 254 can be kept"},
    };
    for (const auto &c : cases) {
        ToolResult result = RunTool({"describe", photo, c.text});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "nuboindex: cannot describe '" + photo + "': " + c.reason + "\n");
    }
    EXPECT_NE(access((share + "/A/@eaDir").c_str(), F_OK), 0);
    EXPECT_EQ(Queue(), "");
    EXPECT_EQ(RunTool({"describe", photo, std::string(254, 'x')}).status, 0);
    EXPECT_EQ(ReadFile(Place("DESC")), std::string(254, 'x'));
}

TEST_F(PhotoCommands, OnlyPhotosOfThePhotoShareHaveTexts)
{
    std::string elsewhere = Scratch("/volume1/music/b.jpg"), song = share + "/song.mp3";
    std::string bin = share + "/#recycle/b.jpg";
    WriteFile(elsewhere, "x");
    WriteFile(song, "x");
    WriteFile(bin, "x");
    const struct {
        std::string path, reason;
    } cases[] = {
        {elsewhere, "it is not below the photo share " + share},
        {share, "it is not below the photo share " + share},
        {share + "s/b.jpg", "it is not below the photo share " + share},
        {song, "it is no photo"},
        {share + "/A", "it is no photo"},
        {share + "/gone.jpg", "No such file or directory"},
        {bin, "the daemon passes over @eaDir and #recycle"},
        {"", "the path is empty"},
    };
    for (const auto &c : cases) {
        ToolResult result = RunTool({"title", c.path, "x"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "nuboindex: cannot title '" + c.path + "': " + c.reason + "\n");
    }
    unlink(PHOTO_SHARE_LINK);
    EXPECT_NE(RunTool({"title", photo, "x"}).err.find("this box has no photo share"), std::string::npos);
    EXPECT_EQ(Queue(), "");
}

TEST_F(PhotoCommands, AFolderThatCannotBeWrittenQueuesNothing)
{
    WriteFile(share + "/A/@eaDir", "a file is in the way");
    ToolResult result = RunTool({"title", photo, "x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("cannot write " + Place("TITLE") + ": Not a directory"), std::string::npos)
        << result.err;
    EXPECT_EQ(Queue(), "");
}

TEST_F(PhotoCommands, ADescriptionFolderThatIsALinkIsNotFollowed)
{
    MakeFolder(Scratch("/elsewhere"));
    ASSERT_EQ(symlink(Scratch("/elsewhere").c_str(), (share + "/A/@eaDir").c_str()), 0);
    EXPECT_EQ(RunTool({"title", photo, "x"}).status, 1);
    EXPECT_NE(access((Scratch("/elsewhere") + "/b.jpg@NUBOPHOTO.TITLE").c_str(), F_OK), 0);
}

TEST_F(PhotoCommands, AFolderThatIsNoAlbumYetBecomesOneWithTheFlag)
{
    for (const char *flag : {"yes", "no"}) {
        ToolResult result = RunTool({"publish", share + "/A", flag});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, QUEUED);
        EXPECT_EQ(ReadFile(share + "/@eaDir/A@NUBOPHOTO.PUBLIC"), flag == std::string("yes") ? "1" : "0");
    }
    EXPECT_EQ(Queue(), "a:" + share + "/A\na:" + share + "/A\n");
    EXPECT_EQ(RunTool({"publish", share + "/A", "maybe"}).status, 2);
}

TEST_F(PhotoCommands, AnAlbumThatExistsChangesAtOnceWithItsSubAlbumsAndNoOther)
{
    const char *albums[] = {"A", "A/x", "A_", "A_/x", "AB", "AB/x", "a", "a/x"};
    int id = 0;
    for (const char *album : albums)
        AlbumSave(++id, album, false, std::string(album).find('/') != std::string::npos);
    MakeFolder(share + "/A_");
    EXPECT_EQ(RunTool({"publish", share + "/A_", "yes"}).out, "done, sub-albums included: 1\n");
    EXPECT_EQ(RunTool({"list", "albums"}).out,
              ALBUM_HEAD +
                  "A,no,,1\nA/x,no,,2\nAB,no,,5\nAB/x,no,,6\nA_,yes,,3\nA_/x,yes,,4\na,no,,7\na/x,no,,8\n");
    EXPECT_EQ(RunTool({"publish", share + "/A_", "no"}).status, 0);
    MakeFolder(share + "/A/x");
    EXPECT_EQ(RunTool({"publish", share + "/A/x", "yes"}).out, "done\n");
    EXPECT_EQ(RunTool({"list", "albums"}).out.find("A/x,yes"), RunTool({"list", "albums"}).out.find("yes") - 4);
    EXPECT_EQ(Queue(), "");
    EXPECT_NE(access((share + "/@eaDir").c_str(), F_OK), 0);
}

TEST_F(PhotoCommands, NamesCannotLeaveTheStatement)
{
    std::string name = "x' or '1'='1";
    AlbumSave(1, "Other", false, false);
    AlbumSave(2, "x'' or ''1''=''1", false, false);
    MakeFolder(share + "/" + name);
    EXPECT_EQ(RunTool({"publish", share + "/" + name, "yes"}).out, "done\n");
    EXPECT_EQ(RunTool({"list", "albums"}).out, ALBUM_HEAD + "Other,no,,1\n" + name + ",yes,,2\n");
}

TEST_F(PhotoCommands, PublishSaysWhatIsNoAlbum)
{
    MakeFolder(share + "/A/x/deep");
    const struct {
        std::string path, reason;
    } cases[] = {
        {photo, "it is no folder"},
        {share, "it is not below the photo share " + share},
        {share + "/gone", "No such file or directory"},
        {share + "/A/x/deep", "albums are at most two folders deep"},
        {share + "/A/x",
         "it is no album yet; once it is indexed it is as public as the album that holds it, and "
         "can be changed then"},
    };
    for (const auto &c : cases) {
        ToolResult result = RunTool({"publish", c.path, "yes"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "nuboindex: cannot publish '" + c.path + "': " + c.reason + "\n");
    }
    EXPECT_EQ(Queue(), "");
}

TEST_F(PhotoCommands, AlbumsAreListedWithWhoMaySeeThem)
{
    EXPECT_EQ(RunTool({"list", "albums"}).out, "");
    EXPECT_EQ(RunTool({"list", "albums", "--json"}).out, "[]\n");
    AlbumSave(1, "Trips", true, false);
    AlbumSave(2, "Family", false, false);
    ASSERT_EQ(PhotoDBExec("Insert into photo_access_right Values (1026, 2, 'x')"), 1);
    ASSERT_EQ(PhotoDBExec("Insert into photo_access_right Values (1024, 2, 'x')"), 1);
    ASSERT_EQ(
        PhotoDBExec("Update photo_share set cover = '/var/services/photo/Family/c.jpg' where shareid = 2"), 1);
    EXPECT_EQ(RunTool({"list", "albums"}).out, ALBUM_HEAD + "Family,no,1024 1026,2\nTrips,yes,,1\n");
    std::string table = RunTool({"list", "albums"}, 80).out;
    EXPECT_TRUE(table.starts_with("ALBUM")) << table;
    json albums = json::parse(RunTool({"list", "--json", "albums"}).out);
    ASSERT_EQ(albums.size(), 2u);
    EXPECT_EQ(albums[0], json::parse(R"({"kind":"album","album":"Family","id":2,"public":false,
        "users":[1024,1026],"cover":"/var/services/photo/Family/c.jpg"})"));
    EXPECT_EQ(albums[1]["public"], true);
    std::string lines = RunTool({"list", "--json-lines", "albums"}).out;
    EXPECT_EQ(json::parse(lines.substr(0, lines.find('\n'))), albums[0]);
}

TEST_F(PhotoCommands, ShowTellsWhatTheGalleryShows)
{
    MediaInfoRecord media = {};
    snprintf(media.path, sizeof media.path, "%s", photo.c_str());
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PHOTO, &media), 0);
    EXPECT_EQ(RunTool({"show", photo}).out.find("gallery"), std::string::npos);
    PhotoInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", photo.c_str());
    snprintf(record.title, sizeof record.title, "Summer\n");
    snprintf(record.description, sizeof record.description, "At the lake");
    ASSERT_EQ(PhotoInfoDBSave(&record, 1), 0);
    std::string text = RunTool({"show", photo}).out;
    EXPECT_NE(text.find("gallery_title      Summer\n"), std::string::npos) << text;
    EXPECT_NE(text.find("gallery_text       At the lake\n"), std::string::npos) << text;
    json object = json::parse(RunTool({"show", "--json", photo}).out);
    EXPECT_EQ(object["gallery_title"], "Summer");
    EXPECT_EQ(object["gallery_text"], "At the lake");
}
