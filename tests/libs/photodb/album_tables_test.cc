// Albums, rights and video notes, with the statements that the daemon composes.
#include "libs/database_test.h"
#include "platform/photo_db.h"

class AlbumTables : public DatabaseTest
{
};

static constexpr int VIDEO_DESC = 1;
static constexpr int VIDEO_COMMENT = 2;
static constexpr int SHARE = 3;
static constexpr int RIGHT = 4;

static int AlbumInsert(int id, const std::string &name, const char *is_public, const char *is_subdir)
{
    char sql[4096];
    snprintf(sql, sizeof sql,
             "Insert into photo_share values(%d, '%s', '', '', '%s', 0, '', 'true', '%s', '1');", id,
             Quoted(name).c_str(), is_public, is_subdir);
    return PhotoDBExec(sql);
}

static Texts Column(int table, const char *column, const std::string &condition = "",
                    const char *order = nullptr, int limit = 0)
{
    return ColumnOf(PhotoInfoDBOpen(table, "*", condition.c_str(), 0, order, 0, limit), column);
}

static Texts Albums()
{
    return Column(SHARE, "sharename", "", "sharename asc");
}

TEST_F(AlbumTables, TenValuesFindTheirColumns)
{
    ASSERT_EQ(AlbumInsert(5, "Trips/Rome", "false", "true"), 1);
    EXPECT_EQ(Column(SHARE, "shareid"), Texts{"5"});
    EXPECT_EQ(Column(SHARE, "sharename"), Texts{"Trips/Rome"});
    EXPECT_EQ(Column(SHARE, "public"), Texts{"f"});
    EXPECT_EQ(Column(SHARE, "is_subdir"), Texts{"t"});
    EXPECT_EQ(Column(SHARE, "updated"), Texts{"1"});
    EXPECT_EQ(Column(SHARE, "cover"), Texts{""});
}

TEST_F(AlbumTables, BooleansReadAsLettersHoweverTheyWereWritten)
{
    static const struct {
        const char *written, *read;
    } cases[] = {{"true", "t"}, {"false", "f"}, {"t", "t"}, {"f", "f"}, {"TRUE", "t"}, {"1", "t"}, {"0", "f"}};
    int id = 0;
    for (const auto &c : cases) {
        std::string name = "n" + std::to_string(++id);
        ASSERT_EQ(AlbumInsert(id, name, c.written, c.written), 1);
        EXPECT_EQ(Column(SHARE, "public", "sharename = '" + name + "'"), Texts{c.read}) << c.written;
        EXPECT_EQ(Column(SHARE, "is_subdir", "sharename = '" + name + "'"), Texts{c.read}) << c.written;
        std::string update =
            std::string("Update photo_share set public = '") + c.written + "' where sharename = 'n1';";
        EXPECT_EQ(PhotoDBExec(update.c_str()), 1);  // a row, not the work behind it
        EXPECT_EQ(Column(SHARE, "public", "sharename = 'n1'"), Texts{c.read}) << c.written;
    }
    // the first one was written again and again, at last as '0'
    EXPECT_EQ(Column(SHARE, "shareid", "public = 't'", "shareid asc"), (Texts{"3", "5", "6"}));
}

TEST_F(AlbumTables, LargestIdComesFirst)
{
    for (int id : {3, 20, 100})
        ASSERT_EQ(AlbumInsert(id, std::to_string(id), "true", "false"), 1);
    EXPECT_EQ(Column(SHARE, "shareid", "shareid > 0", "shareid desc", 1), Texts{"100"});
}

TEST_F(AlbumTables, AlbumOfANameIsThereOnce)
{
    ASSERT_EQ(AlbumInsert(1, "A", "true", "false"), 1);
    EXPECT_EQ(AlbumInsert(2, "A", "false", "false"), -1);
    EXPECT_EQ(Column(SHARE, "public"), Texts{"t"});
    EXPECT_EQ(AlbumInsert(2, "a", "false", "false"), 1);  // another name
}

TEST_F(AlbumTables, AlbumGoesWithItsSubAlbumsAndNoOther)
{
    static const char *const odd_names[] = {"A",   "it's", "back\\slash", "caf\xE9", "100%",
                                            "a_b", "'",    "\\",          "\\'"};
    int id = 0;
    for (const std::string name : odd_names) {
        Texts others;
        for (const char *end : {"B", " B", "0", ".x"})
            others.push_back(name + end);
        for (const std::string &other : others)
            ASSERT_EQ(AlbumInsert(++id, other, "true", "false"), 1);
        for (const char *end : {"", "/x", "/it's"})
            ASSERT_EQ(AlbumInsert(++id, name + end, "true", "false"), 1);
        std::string sql = "Delete from photo_share where sharename = '" + Quoted(name) +
                          "' or sharename like '" + LikeQuoted(name) + "/%';";
        EXPECT_EQ(PhotoDBExec(sql.c_str()), 3) << name;
        std::sort(others.begin(), others.end());
        EXPECT_EQ(Albums(), others);
        ASSERT_GE(PhotoDBExec("Delete from photo_share;"), 4);
    }
    ASSERT_EQ(AlbumInsert(1, "caf\xE8/x", "true", "true"), 1);
    EXPECT_EQ(PhotoDBExec(
                  ("Delete from photo_share where sharename like '" + LikeQuoted("caf\xE9") + "/%';").c_str()),
              0);
}

TEST_F(AlbumTables, RenameCountsItsRows)
{
    ASSERT_EQ(AlbumInsert(1, "A", "true", "false"), 1);
    static constexpr char RENAME[] =
        "Update photo_share set sharename = 'P/A', is_subdir = 't' where sharename = 'A'";
    EXPECT_EQ(PhotoDBExec(RENAME), 1);
    EXPECT_EQ(PhotoDBExec(RENAME), 0);
    EXPECT_EQ(Column(SHARE, "is_subdir"), Texts{"t"});
    EXPECT_EQ(Column(SHARE, "shareid"), Texts{"1"});
    EXPECT_EQ(PhotoDBExec("Update nothing set a = 1"), -1);
    EXPECT_EQ(PhotoDBExec(nullptr), -1);
    EXPECT_EQ(PhotoDBExec(""), -1);
}

TEST_F(AlbumTables, RenameTakesThePlaceOfAnAlbumThatWasMadeAtTheNewPlace)
{
    ASSERT_EQ(AlbumInsert(1, "A", "false", "false"), 1);
    ASSERT_EQ(AlbumInsert(2, "B", "true", "false"), 1);
    for (const char *id : {"1", "2"})
        ASSERT_EQ(
            PhotoDBExec((std::string("Insert into photo_access_right Values (1024, ") + id + ", '')").c_str()),
            1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set sharename = 'B', is_subdir = 'f' where sharename = 'A'"), 1);
    EXPECT_EQ(Albums(), Texts{"B"});
    EXPECT_EQ(Column(SHARE, "public"), Texts{"f"});
    EXPECT_EQ(Column(RIGHT, "shareid"), Texts{"1"});
    EXPECT_EQ(PhotoDBExec("Update photo_share set sharename = 'B' where sharename = 'B'"), 1);
    EXPECT_EQ(AlbumInsert(3, "B", "true", "false"), -1);  // an album that is added never replaces one
    EXPECT_EQ(Albums(), Texts{"B"});
}

TEST_F(AlbumTables, CoverFollowsItsAlbum)
{
    ASSERT_EQ(AlbumInsert(1, "it's", "true", "false"), 1);
    ASSERT_EQ(PhotoDBExec("update photo_share set cover = '/var/services/photo/it''s/a.jpg'"), 1);
    static constexpr char MOVE[] =
        "UPDATE photo_share SET cover = replace(cover, '/var/services/photo/it''s/', "
        "'/var/services/photo/B\\/') WHERE sharename='it''s'";
    EXPECT_EQ(PhotoDBExec(MOVE), 1);
    EXPECT_EQ(Column(SHARE, "cover"), Texts{"/var/services/photo/B\\/a.jpg"});
    EXPECT_EQ(PhotoDBExec(MOVE), 1);  // a row that keeps its value counts too
}

TEST_F(AlbumTables, MarkAndSweep)
{
    for (int id : {1, 2, 3})
        ASSERT_EQ(AlbumInsert(id, std::string(1, static_cast<char>('A' + id)), "true", "false"), 1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set updated = '0'"), 3);
    EXPECT_EQ(PhotoDBExec("Update photo_share set updated = '1' where sharename = 'C'"), 1);
    EXPECT_EQ(PhotoDBExec("Delete from photo_share where updated = '0'"), 2);
    EXPECT_EQ(Albums(), Texts{"C"});
    EXPECT_EQ(Column(SHARE, "shareid"), Texts{"2"});
}

TEST_F(AlbumTables, RightsAreCopiedAndGoWithTheirAlbum)
{
    ASSERT_EQ(AlbumInsert(1, "A", "false", "false"), 1);
    ASSERT_EQ(AlbumInsert(2, "A/x", "false", "true"), 1);
    EXPECT_EQ(PhotoDBExec("Insert into photo_access_right Values (1024, 1, 'Sun Mar  1 12:00:00 2026\n')"), 1);
    EXPECT_EQ(Column(RIGHT, "userid", "shareid = '1'"), Texts{"1024"});
    EXPECT_EQ(PhotoDBExec("Insert into photo_access_right Values (1024, 2, 'Sun Mar  1 12:00:00 2026\n')"), 1);
    EXPECT_EQ(PhotoDBExec("Delete from photo_share where sharename = 'A/x'"), 1);
    EXPECT_EQ(Column(RIGHT, "shareid"), Texts{"1"});  // the next album with id 2 must not let anybody in
    EXPECT_EQ(PhotoDBExec("Update photo_share set sharename = 'B' where sharename = 'A'"), 1);
    EXPECT_EQ(Column(RIGHT, "shareid"), Texts{"1"});
    EXPECT_EQ(PhotoDBExec("Delete from photo_share;"), 1);
    EXPECT_EQ(Column(RIGHT, "shareid"), Texts{});
}

TEST_F(AlbumTables, VideoNotesMoveToTheirNewPath)
{
    ASSERT_EQ(PhotoDBExec("insert into video_desc (path, title) values ('/v/it''s/a.mp4', 'one')"), 1);
    for (int i = 0; i < 3; i++)
        ASSERT_EQ(PhotoDBExec("insert into video_comment (path, comment) values ('/v/it''s/a.mp4', 'nice')"),
                  1);
    for (int table : {VIDEO_DESC, VIDEO_COMMENT}) {
        std::string name = table == VIDEO_DESC ? "video_desc" : "video_comment";
        NuboDbHandle *handle = PhotoInfoDBOpen(
            table, "path", ("path like '" + LikeQuoted("/v/it's") + "%'").c_str(), 0, nullptr, 0, 0);
        ASSERT_TRUE(handle);
        EXPECT_EQ(handle->row_count, table == VIDEO_DESC ? 1 : 3);
        std::string update = "Update " + name + " set path = '/v/new/a.mp4' where path = '/v/it''s/a.mp4'";
        NuboDbResult *result = nullptr;
        EXPECT_EQ(NUBODBExecute(handle->connection, update.c_str(), &result), 0);
        NUBODBFreeResult(result);
        EXPECT_EQ(NUBODBExecute(handle->connection, update.c_str(), &result),
                  0);  // the second row says the same
        NUBODBFreeResult(result);
        PhotoInfoDBClose(handle);
        for (const std::string &path : Column(table, "path"))
            EXPECT_EQ(path, "/v/new/a.mp4");
    }
    EXPECT_EQ(Column(VIDEO_DESC, "title"), Texts{"one"});
}
