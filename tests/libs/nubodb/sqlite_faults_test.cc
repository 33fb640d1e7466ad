// What can be wrong with a database file: each time one clear line in the log, no half row, and work again when the
// fault is gone.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "support/scratch.h"

class SqliteFaults : public DatabaseTest
{
};

static const std::string MediaFile()
{
    return Scratch("/state/media.db");
}

static bool Store(const std::string &path)
{
    return DbRun(DbOpen(DB_MEDIA), "insert into directory (path) values ($1)", {DbText(path.c_str())}) == 1;
}

static Texts Stored()
{
    return Query(DB_MEDIA, "select path from directory order by path", "path");
}

static bool LogHas(const char *text)
{
    for (const std::string &line : syslog_lines) {
        if (line.find("nubodb: media database: ") == 0 && line.find(text) != line.npos)
            return true;
    }
    return false;
}

TEST_F(SqliteFaults, FileThatIsNoDatabase)
{
    std::string garbage(100000, 'x');
    WriteFile(MediaFile(), garbage);
    for (int i = 0; i < 3; i++)
        EXPECT_FALSE(Store("/a"));
    EXPECT_TRUE(LogHas("file is not a database"));
    EXPECT_EQ(syslog_lines.size(), 1u);
    EXPECT_EQ(ReadFile(MediaFile()), garbage);  // it may be something that somebody wants back
    ASSERT_EQ(unlink(MediaFile().c_str()), 0);
    EXPECT_TRUE(Store("/a"));
    EXPECT_EQ(Stored(), Texts{"/a"});
}

TEST_F(SqliteFaults, DamagedPages)
{
    for (int i = 0; i < 500; i++)
        ASSERT_TRUE(Store(OddPath("/" + std::to_string(i), 500)));
    ASSERT_EQ(DbVacuum(DB_MEDIA), 0);
    DbClose();
    (void)unlink((MediaFile() + "-wal").c_str());
    (void)unlink((MediaFile() + "-shm").c_str());
    struct stat status = {};
    ASSERT_EQ(stat(MediaFile().c_str(), &status), 0);
    int fd = open(MediaFile().c_str(), O_WRONLY | O_CLOEXEC);
    std::string damage(4096, '\xA5');
    for (off_t at = 16384; at < status.st_size; at += 4096)
        ASSERT_EQ(pwrite(fd, damage.data(), damage.size(), at), 4096);
    close(fd);

    EXPECT_FALSE(Store("/a"));
    EXPECT_TRUE(LogHas("malformed"));
    EXPECT_EQ(Stored(), Texts{"(failed)"});
    ASSERT_EQ(unlink(MediaFile().c_str()), 0);
    EXPECT_TRUE(Store("/a"));
}

TEST_F(SqliteFaults, CutFile)
{
    for (int i = 0; i < 500; i++)
        ASSERT_TRUE(Store(OddPath("/" + std::to_string(i), 500)));
    ASSERT_EQ(DbVacuum(DB_MEDIA), 0);
    DbClose();
    (void)unlink((MediaFile() + "-wal").c_str());
    ASSERT_EQ(truncate(MediaFile().c_str(), 10000), 0);
    EXPECT_FALSE(Store("/a"));
    EXPECT_FALSE(syslog_lines.empty());
}

TEST_F(SqliteFaults, FolderInThePlaceOfTheFile)
{
    MakeFolder(MediaFile());
    EXPECT_FALSE(Store("/a"));
    EXPECT_TRUE(LogHas("unable to open database file"));
}

TEST_F(SqliteFaults, FileInThePlaceOfTheFolder)
{
    ASSERT_EQ(rmdir(Scratch("/state").c_str()), 0);
    WriteFile(Scratch("/state"), "");
    EXPECT_FALSE(Store("/a"));
    EXPECT_TRUE(LogHas("cannot be opened"));
    ASSERT_EQ(unlink(Scratch("/state").c_str()), 0);
    EXPECT_TRUE(Store("/a"));
}

TEST_F(SqliteFaults, NewerSchema)
{
    ASSERT_TRUE(Store("/a"));
    DbClose();
    sqlite3 *db = nullptr;
    ASSERT_EQ(sqlite3_open(MediaFile().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "pragma user_version = 99", nullptr, nullptr, nullptr), SQLITE_OK);
    for (int i = 0; i < 3; i++)
        EXPECT_FALSE(Store("/b"));
    EXPECT_EQ(syslog_lines,
              Texts{"nubodb: media database: cannot be opened: its schema has version 99, newer than 1, "
                    "which this program knows"});
    ASSERT_EQ(sqlite3_exec(db, "pragma user_version = 1", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    EXPECT_EQ(Stored(), Texts{"/a"});
}

TEST_F(SqliteFaults, LockedByAnotherWriter)
{
    ASSERT_TRUE(Store("/a"));
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(MediaFile().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "begin immediate", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(Stored(), Texts{"/a"});  // reading goes on
    EXPECT_FALSE(Store("/b"));
    EXPECT_TRUE(LogHas("database is locked"));
    ASSERT_EQ(sqlite3_exec(other, "commit", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);
    EXPECT_TRUE(Store("/b"));
    EXPECT_EQ(Stored(), (Texts{"/a", "/b"}));
}

TEST_F(SqliteFaults, ReadOnlyFileSystem)
{
    ASSERT_TRUE(Store("/a"));
    bool allowed = RunInOwnMounts([] {
        std::string state = Scratch("/state");
        ASSERT_EQ(mount(state.c_str(), state.c_str(), nullptr, MS_BIND, nullptr), 0);
        ASSERT_EQ(mount(nullptr, state.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        EXPECT_FALSE(Store("/b"));
        EXPECT_TRUE(LogHas("readonly"));
        EXPECT_EQ(Stored(), Texts{"/a"});  // what is there can be read
        ASSERT_EQ(mount(nullptr, state.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
        EXPECT_TRUE(Store("/c"));
    });
    if (!allowed)
        GTEST_SKIP() << "mounting needs root";
    EXPECT_EQ(Stored(), (Texts{"/a", "/c"}));
}

TEST_F(SqliteFaults, NothingThereOnAReadOnlyFileSystem)
{
    bool allowed = RunInOwnMounts([] {
        std::string state = Scratch("/state");
        ASSERT_EQ(mount("none", state.c_str(), "tmpfs", MS_RDONLY, nullptr), 0);
        EXPECT_FALSE(Store("/b"));
        EXPECT_TRUE(LogHas("cannot be opened"));
    });
    if (!allowed)
        GTEST_SKIP() << "mounting needs root";
}

TEST_F(SqliteFaults, FullDisk)
{
    bool allowed = RunInOwnMounts([] {
        ASSERT_EQ(mount("none", Scratch("/state").c_str(), "tmpfs", 0, "size=1m"), 0);
        size_t stored = 0;
        while (stored < 5000 && Store(OddPath("/" + std::to_string(stored), 900)))
            stored++;
        ASSERT_GT(stored, 10u);
        ASSERT_LT(stored, 5000u);
        EXPECT_TRUE(LogHas("full") || LogHas("disk I/O error"));
        for (int i = 0; i < 100; i++)
            EXPECT_FALSE(Store(OddPath("/again" + std::to_string(i), 900)));
        EXPECT_LT(syslog_lines.size(), 10u);
        // Everything that was called stored is there, nothing else is.
        EXPECT_EQ(Stored().size(), stored);
        DbClose();
        EXPECT_EQ(Stored().size(), stored);

        ASSERT_EQ(mount("none", Scratch("/state").c_str(), "tmpfs", MS_REMOUNT, "size=8m"), 0);
        EXPECT_TRUE(Store("/room again"));
        EXPECT_EQ(Stored().size(), stored + 1);
        EXPECT_EQ(Query(DB_MEDIA, "pragma integrity_check", "integrity_check"), Texts{"ok"});
    });
    if (!allowed)
        GTEST_SKIP() << "mounting needs root";
}
