// A photo database that fails for a while: what only its rows know is not lost.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "libs/database_test.h"
#include "nlib/config.h"
#include "nubodb/missed.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

class PhotoFaults : public DatabaseTest
{
  protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        MissedBatchBegin();
        WriteFile(photo, "");
        MakeFolder(Scratch("/volume1/photo/@eaDir"));
    }

    // As long as it lives there is no database.
    struct Outage {
        std::string before = PlatformSetting("database");
        Outage()
        {
            PlatformSettingSet("database", "abacus");
            DbClose();
        }
        ~Outage()
        {
            PlatformSettingSet("database", before.c_str());
        }
    };

    const std::string photo = Scratch("/volume1/photo/a.jpg");
    const std::string title_file = Scratch("/volume1/photo/@eaDir/a.jpg@NUBOPHOTO.TITLE");
    const std::string description_file = Scratch("/volume1/photo/@eaDir/a.jpg@NUBOPHOTO.DESC");
};

static int PhotoSave(const std::string &path, const char *title = "", const char *description = "")
{
    PhotoInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.title, sizeof record.title, "%s", title);
    snprintf(record.description, sizeof record.description, "%s", description);
    return PhotoInfoDBSave(&record, 1);
}

static Texts Stored()
{
    return Query(DB_PHOTO, "select path from photo order by path", "path");
}

TEST_F(PhotoFaults, TextsOfAPhotoThatCouldNotBeStoredGoBackToWhereTheyWereRead)
{
    {
        Outage outage;
        EXPECT_EQ(PhotoSave(photo, "Summer\n", "At the sea\n"), -1);
    }
    EXPECT_EQ(ReadFile(title_file), "Summer\n");
    EXPECT_EQ(ReadFile(description_file), "At the sea\n");
    EXPECT_EQ(ReadFile(Scratch("/state/missed")), "f" + photo + "\n");
}

TEST_F(PhotoFaults, TextThatEveryPhotoHasIsNotWritten)
{
    Outage outage;
    EXPECT_EQ(PhotoSave(photo, "a", ""), -1);
    EXPECT_FALSE(std::filesystem::exists(title_file));
    EXPECT_FALSE(std::filesystem::exists(description_file));
}

TEST_F(PhotoFaults, NewerTextIsNotOverwritten)
{
    Outage outage;
    WriteFile(title_file, "newer\n");
    EXPECT_EQ(PhotoSave(photo, "older\n"), -1);
    EXPECT_EQ(ReadFile(title_file), "newer\n");
}

// The folder belongs to the box's users, and the daemon is root.
TEST_F(PhotoFaults, NoTextIsWrittenThroughALink)
{
    Outage outage;
    MakeFolder(Scratch("/etc/private"));
    ASSERT_EQ(rmdir(Scratch("/volume1/photo/@eaDir").c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/etc/private").c_str(), Scratch("/volume1/photo/@eaDir").c_str()), 0);
    EXPECT_EQ(PhotoSave(photo, "Summer\n"), -1);
    EXPECT_TRUE(std::filesystem::is_empty(Scratch("/etc/private")));
}

TEST_F(PhotoFaults, PassThatMetAFailureRemovesNoPhoto)
{
    ASSERT_EQ(PhotoSave(photo), 0);
    ASSERT_EQ(NUBOPhotoInitAllRows(), 0);
    {
        Outage outage;
        EXPECT_EQ(PhotoSave(photo), -1);
    }
    EXPECT_EQ(NUBOPhotoDeleteNoUpdateRows(), -1);
    EXPECT_EQ(Stored(), Texts{photo});
    EXPECT_EQ(ReadFile(Scratch("/state/missed")), "f" + photo + "\nR:photo\n");

    ASSERT_EQ(NUBOPhotoInitAllRows(), 0);
    EXPECT_EQ(NUBOPhotoDeleteNoUpdateRows(), 0);
    EXPECT_EQ(Stored(), Texts{});
}

TEST_F(PhotoFaults, PassThatMetAFailureRemovesNoAlbum)
{
    ASSERT_EQ(PhotoDBExec("insert into photo_share values(1, 'a', '', '', 'true', 0, '', 'true', 'true', '1')"),
              1);
    ASSERT_EQ(PhotoDBExec("update photo_share set updated = '0'"), 1);
    {
        Outage outage;
        EXPECT_EQ(PhotoDBExec("update photo_share set updated = '1' where sharename = 'a'"), -1);
    }
    EXPECT_EQ(PhotoDBExec("delete from photo_share where updated = '0'"), -1);
    EXPECT_EQ(Query(DB_PHOTO, "select sharename from photo_share", "sharename"), Texts{"a"});
    ASSERT_EQ(PhotoDBExec("update photo_share set updated = '0'"), 1);
    EXPECT_EQ(PhotoDBExec("delete from photo_share where updated = '0'"), 1);
}
