// The photo table: saving, moving, marking, sweeping.
#include "platform/photo_db.h"

#include <stdlib.h>
#include <string.h>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"

class PhotoDb : public DatabaseTest
{
};

static constexpr int PHOTO_TABLE = 0;
static constexpr int MODE_ADD = 1;
static constexpr int MODE_REFRESH = 5;

static PhotoInfoRecord Photo(const std::string &path)
{
    PhotoInfoRecord record = {};
    memcpy(record.path, path.c_str(), path.size() + 1);
    std::string name = path.substr(path.rfind('/') + 1);
    std::string folder = path.substr(0, path.rfind('/'));
    snprintf(record.name, sizeof record.name, "%s", name.c_str());
    snprintf(record.title, sizeof record.title, "%s", name.substr(0, name.rfind('.')).c_str());
    snprintf(record.album, sizeof record.album, "%s", folder.substr(folder.rfind('/') + 1).c_str());
    return record;
}

static int Save(const std::string &path, int mode = MODE_ADD)
{
    PhotoInfoRecord record = Photo(path);
    return PhotoInfoDBSave(&record, mode);
}

static Texts Column(const char *column, const std::string &condition = "")
{
    return ColumnOf(PhotoInfoDBOpen(PHOTO_TABLE, "*", condition.c_str(), 0, "path asc", 0, 0), column);
}

static Texts Paths()
{
    return Column("path");
}

static PhotoPathList *ListOf(const Texts &paths)
{
    PhotoPathList *list = nullptr;
    for (size_t i = paths.size(); i-- > 0;) {
        auto *node = static_cast<PhotoPathList *>(malloc(sizeof(PhotoPathList)));
        *node = {strdup(paths[i].c_str()), list};
        list = node;
    }
    return list;
}

static int Move(const Texts &paths, const char *new_prefix, const char *old_prefix)
{
    PhotoPathList *list = ListOf(paths);
    int result = NUBOUpdatePhotoPath(list, new_prefix, old_prefix);
    FreePhotoPathList(list);
    return result;
}

TEST_F(PhotoDb, EveryFieldComesBack)
{
    PhotoInfoRecord record = Photo("/volume1/photo/Trips/a.jpg");
    strcpy(record.title, "Summer\n"), strcpy(record.description, "By the sea");
    strcpy(record.camera_make, "Make"), strcpy(record.camera_model, "Model");
    strcpy(record.exposure_time, "1/60 sec."), strcpy(record.aperture, "f/2.8");
    strcpy(record.date_taken, "2026:03:01 12:00:00"), strcpy(record.create_time, "Sun Mar  1 12:00:00 2026\n");
    record.resolution_x = 8000, record.resolution_y = 6000, record.iso = 400, record.filesize = 20971519;
    ASSERT_EQ(PhotoInfoDBSave(&record, MODE_ADD), 0);
    static const struct {
        const char *column, *value;
    } expected[] = {
        {"path", "/volume1/photo/Trips/a.jpg"},
        {"name", "a.jpg"},
        {"title", "Summer\n"},
        {"description", "By the sea"},
        {"album", "Trips"},
        {"camera_make", "Make"},
        {"camera_model", "Model"},
        {"exposure_time", "1/60 sec."},
        {"aperture", "f/2.8"},
        {"date_taken", "2026:03:01 12:00:00"},
        {"create_time", "Sun Mar  1 12:00:00 2026\n"},  // the line feed belongs to it
        {"resolution_x", "8000"},
        {"resolution_y", "6000"},
        {"iso", "400"},
        {"filesize", "20971519"},
        {"updated", "1"},
    };
    for (const auto &e : expected)
        EXPECT_EQ(Column(e.column), Texts{e.value}) << e.column;
}

TEST_F(PhotoDb, SavedAgainKeepsWhatAPersonWrote)
{
    for (int mode : {MODE_ADD, MODE_REFRESH}) {
        ASSERT_EQ(PhotoInfoDBDelete("/p/a.jpg"), 0);
        PhotoInfoRecord record = Photo("/p/a.jpg");
        strcpy(record.title, "Given\n"), strcpy(record.description, "Told\n");
        ASSERT_EQ(PhotoInfoDBSave(&record, MODE_ADD), 0);
        PhotoInfoRecord again = Photo("/p/a.jpg");  // the description files were handed over long ago
        again.iso = 800;
        ASSERT_EQ(PhotoInfoDBSave(&again, mode), 0);
        EXPECT_EQ(Column("title"), Texts{"Given\n"});
        EXPECT_EQ(Column("description"), Texts{"Told\n"});
        EXPECT_EQ(Column("iso"), Texts{"800"});
        strcpy(again.title, "Newer\n"), strcpy(again.description, "Told again\n");
        ASSERT_EQ(PhotoInfoDBSave(&again, mode), 0);
        EXPECT_EQ(Column("title"), Texts{"Newer\n"});
        EXPECT_EQ(Column("description"), Texts{"Told again\n"});
    }
}

TEST_F(PhotoDb, SeenAgainStoresAPhotoThatWasUnknown)
{
    ASSERT_EQ(Save("/p/new.jpg", MODE_REFRESH), 0);
    EXPECT_EQ(Column("title"), Texts{"new"});
    EXPECT_EQ(Column("updated"), Texts{"1"});
}

TEST_F(PhotoDb, RecordWithoutAPathIsRefused)
{
    EXPECT_EQ(PhotoInfoDBSave(nullptr, MODE_ADD), -1);
    EXPECT_EQ(Save("/"), 0);
    PhotoInfoRecord record = {};
    EXPECT_EQ(PhotoInfoDBSave(&record, MODE_ADD), -1);
    memset(record.path, 'x', sizeof record.path);
    EXPECT_EQ(PhotoInfoDBSave(&record, MODE_ADD), -1);
    EXPECT_EQ(Paths(), Texts{"/"});
}

TEST_F(PhotoDb, PathsAreAnyBytesUpTo4095)
{
    for (size_t length : {2u, 255u, 1000u, 4095u}) {
        PhotoInfoRecord record = Photo("/x");
        std::string path = OddPath("/volume1/photo", length);
        path.resize(length);
        if (length < 20)
            path = "/\xFF";
        memcpy(record.path, path.c_str(), path.size() + 1);
        ASSERT_EQ(PhotoInfoDBSave(&record, MODE_ADD), 0);
        EXPECT_EQ(Paths(), Texts{path});
        ASSERT_EQ(PhotoInfoDBDelete(path.c_str()), 0);
        EXPECT_EQ(Paths(), Texts{});
    }
}

TEST_F(PhotoDb, SweepTakesWhatWasNotSeen)
{
    for (const char *path : {"/p/a.jpg", "/p/b.jpg", "/p/c.jpg", "/p/d.jpg"})
        ASSERT_EQ(Save(path), 0);
    ASSERT_EQ(NUBOPhotoInitAllRows(), 0);
    EXPECT_EQ(Column("updated"), (Texts{"0", "0", "0", "0"}));
    ASSERT_EQ(Save("/p/b.jpg", MODE_REFRESH), 0);
    ASSERT_EQ(Save("/p/d.jpg", MODE_ADD), 0);  // both modes set the mark
    ASSERT_EQ(Save("/p/e.jpg", MODE_ADD), 0);
    ASSERT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
    EXPECT_EQ(Paths(), (Texts{"/p/b.jpg", "/p/d.jpg", "/p/e.jpg"}));
    EXPECT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
    EXPECT_EQ(Paths().size(), 3u);
}

TEST_F(PhotoDb, SweepOfAnEmptyTable)
{
    EXPECT_EQ(NUBOPhotoInitAllRows(), 0);
    EXPECT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
}

TEST_F(PhotoDb, DeleteTakesOneRow)
{
    ASSERT_EQ(Save("/p/a.jpg"), 0);
    ASSERT_EQ(Save("/p/a.jpg/b.jpg"), 0);
    EXPECT_EQ(PhotoInfoDBDelete("/p/a.jpg"), 0);
    EXPECT_EQ(Paths(), Texts{"/p/a.jpg/b.jpg"});
    EXPECT_EQ(PhotoInfoDBDelete("/p/none.jpg"), 0);
    EXPECT_EQ(PhotoInfoDBDelete(nullptr), -1);
    EXPECT_EQ(PhotoInfoDBDelete(""), -1);
}

TEST_F(PhotoDb, FolderGoesWithAllThatLiesInItAndNothingElse)
{
    Texts all = {"/p/old/a.jpg", "/p/old/s/b.jpg", "/p/old2/c.jpg",
                 "/p/old.jpg",   "/p/old0/d.jpg",  "/p/Old/e.jpg"};
    for (const char *folder : {"/p/old", "/p/old/"}) {
        for (const std::string &path : all)
            ASSERT_EQ(Save(path), 0);
        EXPECT_EQ(PhotoInfoDBDirDelete(folder), 0);
        EXPECT_EQ(Paths(), (Texts{"/p/Old/e.jpg", "/p/old.jpg", "/p/old0/d.jpg", "/p/old2/c.jpg"}));
    }
    EXPECT_EQ(PhotoInfoDBDirDelete("/p/old.jpg"), 0);  // a file that vanished: its row
    EXPECT_EQ(PhotoInfoDBDirDelete("/p/%"), 0);        // no pattern
    EXPECT_EQ(Paths(), (Texts{"/p/Old/e.jpg", "/p/old0/d.jpg", "/p/old2/c.jpg"}));
    EXPECT_EQ(PhotoInfoDBDirDelete("/"), 0);
    EXPECT_EQ(Paths(), Texts{});
    EXPECT_EQ(PhotoInfoDBDirDelete(nullptr), -1);
    EXPECT_EQ(PhotoInfoDBDirDelete(""), -1);
}

TEST_F(PhotoDb, PathListFollowsTheQuery)
{
    for (const char *path : {"/p/b.jpg", "/p/\xFF'.jpg", "/p/a.jpg"})
        ASSERT_EQ(Save(path), 0);
    NuboDbHandle *handle = PhotoInfoDBOpen(PHOTO_TABLE, "path", nullptr, 0, "path asc", 0, 0);
    PhotoPathList *list = PhotoPathDBGet(handle);
    ASSERT_TRUE(list && list->next && list->next->next && !list->next->next->next);
    EXPECT_STREQ(list->path, "/p/a.jpg");
    EXPECT_STREQ(list->next->next->path, "/p/\xFF'.jpg");
    PhotoInfoDBClose(handle);
    FreePhotoPathList(list);

    handle = PhotoInfoDBOpen(PHOTO_TABLE, "path", "path = 'none'", 0, nullptr, 0, 0);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->row_count, 0);
    EXPECT_EQ(PhotoPathDBGet(handle), nullptr);
    PhotoInfoDBClose(handle);
    handle = PhotoInfoDBOpen(PHOTO_TABLE, "name", nullptr, 0, nullptr, 0, 0);  // no such column in the rows
    EXPECT_EQ(PhotoPathDBGet(handle), nullptr);
    PhotoInfoDBClose(handle);
    EXPECT_EQ(PhotoPathDBGet(nullptr), nullptr);
    FreePhotoPathList(nullptr);
    PhotoInfoDBClose(nullptr);
}

TEST_F(PhotoDb, FolderIsRenamed)
{
    for (const char *path : {"/p/old/a.jpg", "/p/old/s/b.jpg", "/p/old2/c.jpg"})
        ASSERT_EQ(Save(path), 0);
    EXPECT_EQ(Move({"/p/old/a.jpg", "/p/old/s/b.jpg"}, "/p/it's new", "/p/old"), 0);
    EXPECT_EQ(Paths(), (Texts{"/p/it's new/a.jpg", "/p/it's new/s/b.jpg", "/p/old2/c.jpg"}));
    EXPECT_EQ(Column("album"), (Texts{"it's new", "s", "old2"}));  // named by the path, so it goes along
    EXPECT_EQ(Column("title"), (Texts{"a", "b", "c"}));
}

TEST_F(PhotoDb, FileIsRenamedWithItsTexts)
{
    PhotoInfoRecord given = Photo("/p/given.jpg");
    strcpy(given.title, "Summer\n"), strcpy(given.description, "By the sea");
    ASSERT_EQ(PhotoInfoDBSave(&given, MODE_ADD), 0);
    ASSERT_EQ(Save("/p/plain.jpg"), 0);
    EXPECT_EQ(Move({"/p/given.jpg"}, "/q/z.jpg", "/p/given.jpg"), 0);
    EXPECT_EQ(Move({"/p/plain.jpg"}, "/q/y.jpg", "/p/plain.jpg"), 0);
    EXPECT_EQ(Paths(), (Texts{"/q/y.jpg", "/q/z.jpg"}));
    EXPECT_EQ(Column("name"), (Texts{"y.jpg", "z.jpg"}));
    EXPECT_EQ(Column("album"), (Texts{"q", "q"}));
    EXPECT_EQ(Column("title"), (Texts{"y", "Summer\n"}));  // only the title that nobody gave follows the name
    EXPECT_EQ(Column("description"), (Texts{"", "By the sea"}));
}

TEST_F(PhotoDb, RenameTakesThePlaceOfRowsThatWereReadAtTheNewPath)
{
    PhotoInfoRecord given = Photo("/p/old/a.jpg");
    strcpy(given.title, "Summer\n");
    ASSERT_EQ(PhotoInfoDBSave(&given, MODE_ADD), 0);
    for (const char *path : {"/p/new/a.jpg", "/p/new/b.jpg", "/p/new/c.jpg", "/p/same.jpg"})
        ASSERT_EQ(Save(path), 0);
    EXPECT_EQ(Move({"/p/old/a.jpg", "/p/old/c.jpg"}, "/p/new", "/p/old"), 0);  // the second one has no row
    EXPECT_EQ(Move({"/p/same.jpg"}, "/p/same.jpg", "/p/same.jpg"), 0);
    EXPECT_EQ(Paths(), (Texts{"/p/new/a.jpg", "/p/new/b.jpg", "/p/new/c.jpg", "/p/same.jpg"}));
    EXPECT_EQ(Column("title"), (Texts{"Summer\n", "b", "c", "same"}));
}

TEST_F(PhotoDb, RenameChangesAllRowsOrNone)
{
    const std::string long_name = "/p/old/" + std::string(200, 'b') + ".jpg";
    for (const std::string &path : {std::string("/p/old/a.jpg"), long_name})
        ASSERT_EQ(Save(path), 0);
    Texts before = Paths();
    EXPECT_EQ(Move({"/p/old/a.jpg", long_name}, ("/p/" + std::string(4000, 'x')).c_str(), "/p/old"),
              -1);  // too long for the second one
    EXPECT_EQ(Paths(), before);
    EXPECT_EQ(Save("/p/later.jpg"), 0);  // and nothing hangs in the air
    EXPECT_EQ(Paths().size(), 3u);
}

TEST_F(PhotoDb, RenameTakesOnlyPathsWithTheOldPrefix)
{
    ASSERT_EQ(Save("/p/a.jpg"), 0);
    EXPECT_EQ(Move({"/p/a.jpg"}, "/new", "/other"), 0);
    EXPECT_EQ(Move({}, "/new", "/p"), 0);
    EXPECT_EQ(Move({"/p/a.jpg"}, "", "/p"), -1);
    EXPECT_EQ(Move({"/p/a.jpg"}, "/new", ""), -1);
    EXPECT_EQ(NUBOUpdatePhotoPath(nullptr, nullptr, "/p"), -1);
    EXPECT_EQ(NUBOUpdatePhotoPath(nullptr, "/p", nullptr), -1);
    EXPECT_EQ(Paths(), Texts{"/p/a.jpg"});
}

TEST_F(PhotoDb, RenameHalfwayIsUndoneByKill)
{
    for (int i = 0; i < 50; i++)
        ASSERT_EQ(Save("/p/old/" + std::to_string(i) + ".jpg"), 0);
    Texts before = Paths();
    RunAndKill([&] {
        NuboDbConnection *photo = DbOpen(DB_PHOTO);
        (void)DbBegin(photo);  // where NUBOUpdatePhotoPath is before its commit
        (void)DbExecute(photo, "update photo set path = replace(path, '/old/', '/new/')", nullptr);
    });
    EXPECT_EQ(Paths(), before);
    RunAndKill([&] { (void)Move(before, "/p/new", "/p/old"); });
    EXPECT_EQ(Column("path", "path like '/p/new/%'").size(), 50u);
}

TEST_F(PhotoDb, RowSurvivesKillRightAfterItsSave)
{
    RunAndKill([] { (void)Save("/p/a.jpg", MODE_ADD); });
    RunAndKill([] { (void)Save("/p/b.jpg", MODE_REFRESH); });
    EXPECT_EQ(Paths(), (Texts{"/p/a.jpg", "/p/b.jpg"}));
}

TEST_F(PhotoDb, QueryLimitsItsRows)
{
    for (const char *path : {"/p/a.jpg", "/p/b.jpg", "/p/c.jpg"})
        ASSERT_EQ(Save(path), 0);
    EXPECT_EQ(ColumnOf(PhotoInfoDBOpen(PHOTO_TABLE, "path", nullptr, 0, "path desc", 0, 1), "path"),
              Texts{"/p/c.jpg"});
    EXPECT_EQ(ColumnOf(PhotoInfoDBOpen(PHOTO_TABLE, "path", nullptr, 0, nullptr, 0, 0), "path").size(), 3u);
    for (int table : {-1, 5, 1000000})
        EXPECT_EQ(PhotoInfoDBOpen(table, "*", nullptr, 0, nullptr, 0, 0), nullptr) << table;
    EXPECT_EQ(PhotoInfoDBOpen(PHOTO_TABLE, "*", "no sense at all", 0, nullptr, 0, 0), nullptr);
}

TEST_F(PhotoDb, Vacuum)
{
    EXPECT_EQ(PhotoDBVacuum(), 0);
    ASSERT_EQ(Save("/p/a.jpg"), 0);
    EXPECT_EQ(PhotoDBVacuum(), 0);
    EXPECT_EQ(Paths(), Texts{"/p/a.jpg"});
}
