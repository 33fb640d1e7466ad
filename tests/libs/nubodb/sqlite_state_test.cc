// The embedded engine's files: where they are, who may read them, what survives.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "nlib/config.h"
#include "support/scratch.h"

class SqliteState : public DatabaseTest
{
};

static unsigned Mode(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

static bool Store(const char *path)
{
    return DbRun(DbOpen(DB_MEDIA), "insert into directory (path) values ($1)", {DbText(path)}) == 1;
}

static Texts Stored()
{
    return Query(DB_MEDIA, "select path from directory order by path", "path");
}

// The daemon clears its umask.
TEST_F(SqliteState, FilesAreReadableByAllAndWritableByTheOwner)
{
    std::string state = Scratch("/deep/er/state");
    WriteFile(Scratch("/etc/platform.conf"), "state_dir = " + state + "\n");
    PlatformSettingsLoad(Scratch("/etc/platform.conf").c_str());
    mode_t before = umask(0);
    EXPECT_TRUE(Store("/a"));
    EXPECT_TRUE(DbOpen(DB_PHOTO));
    umask(before);
    for (const char *folder : {"/deep", "/deep/er", "/deep/er/state"})
        EXPECT_EQ(Mode(Scratch(folder)), 0755u) << folder;
    for (const char *file : {"/media.db", "/media.db-wal", "/media.db-shm", "/photo.db"})
        EXPECT_EQ(Mode(state + file), 0644u) << file;
}

TEST_F(SqliteState, SchemaVersionIsRecorded)
{
    EXPECT_EQ(Query(DB_MEDIA, "select user_version from pragma_user_version", "user_version"), Texts{"1"});
    EXPECT_EQ(Query(DB_PHOTO, "select user_version from pragma_user_version", "user_version"), Texts{"1"});
}

TEST_F(SqliteState, RowsSurviveKill)
{
    for (int i = 0; i < 20; i++) {
        std::string path = "/" + std::string(1, static_cast<char>('a' + i));
        RunAndKill([&] { (void)Store(path.c_str()); });
    }
    EXPECT_EQ(Stored().size(), 20u);
}

TEST_F(SqliteState, HalfATransactionDoesNotSurviveKill)
{
    EXPECT_TRUE(Store("/a"));
    RunAndKill([] {
        (void)DbBegin(DbOpen(DB_MEDIA));
        for (int i = 0; i < 5000; i++)  // more than the cache holds, so that some of it is in the log
            (void)Store(OddPath("/" + std::to_string(i), 800).c_str());
    });
    EXPECT_EQ(Stored(), Texts{"/a"});
    EXPECT_TRUE(Store("/b"));
}

// The daemon and a tool on a new box.
TEST_F(SqliteState, DatabaseIsMadeOnceWhenManyComeAtTheSameTime)
{
    for (int round = 0; round < 10; round++) {
        for (const char *file : {"/media.db", "/media.db-wal", "/media.db-shm"})
            (void)unlink(Scratch(std::string("/state") + file).c_str());
        std::vector<pid_t> children;
        for (int i = 0; i < 4; i++) {
            children.push_back(fork());
            if (children.back() == 0) {
                bool stored = Store(("/" + std::to_string(i)).c_str());
                if (!stored && !syslog_lines.empty())
                    fprintf(stderr, "%s\n", syslog_lines[0].c_str());
                _exit(stored ? 0 : 1);
            }
        }
        for (pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        EXPECT_EQ(Stored(), (Texts{"/0", "/1", "/2", "/3"}));
        DbClose();
    }
}

TEST_F(SqliteState, AnybodyMayReadWithTheDaemonAndWithout)
{
    ASSERT_TRUE(Store("/a"));
    ASSERT_EQ(chmod(Scratch("").c_str(), 0755), 0);  // the scratch folder itself
    for (bool daemon : {true, false}) {
        if (!daemon)
            DbClose();
        pid_t child = fork();
        if (child == 0) {
            sqlite3 *db = nullptr;
            bool other = setgid(65534) == 0 && setuid(65534) == 0;  // not root: then the own rights have to do
            (void)other;
            int code = sqlite3_open_v2(Scratch("/state/media.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
            if (code == SQLITE_OK)
                code = sqlite3_exec(db, "select path from directory", nullptr, nullptr, nullptr);
            _exit(code);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << (daemon ? "with" : "without") << " the daemon";
    }
}

TEST_F(SqliteState, ReaderWithAnOpenQueryIsNotInTheWay)
{
    for (int i = 0; i < 10; i++)
        ASSERT_TRUE(Store(("/" + std::to_string(i)).c_str()));
    sqlite3 *reader = nullptr;
    ASSERT_EQ(sqlite3_open_v2(Scratch("/state/media.db").c_str(), &reader, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    sqlite3_stmt *query = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(reader, "select path from directory", -1, &query, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(query), SQLITE_ROW);
    EXPECT_TRUE(Store("/later"));
    EXPECT_EQ(DbSync(), 0);
    EXPECT_EQ(DbVacuum(DB_MEDIA), 0);
    int rows = 1;
    while (sqlite3_step(query) == SQLITE_ROW)
        rows++;
    EXPECT_EQ(rows, 10);  // as it was when the query began
    sqlite3_finalize(query);
    sqlite3_close(reader);
    EXPECT_EQ(Stored().size(), 11u);
}

TEST_F(SqliteState, FilesOfTheLogStayForReadersWhenTheWriterLeaves)
{
    ASSERT_TRUE(Store("/a"));
    DbClose();
    EXPECT_EQ(access(Scratch("/state/media.db-wal").c_str(), F_OK), 0);
    EXPECT_EQ(access(Scratch("/state/media.db-shm").c_str(), F_OK), 0);
}

TEST_F(SqliteState, ReplacedFileIsNoticedBetweenBatches)
{
    ASSERT_TRUE(Store("/a"));
    for (const char *file : {"/media.db", "/media.db-wal", "/media.db-shm"})
        ASSERT_EQ(unlink(Scratch(std::string("/state") + file).c_str()), 0);
    DbRefresh();
    EXPECT_EQ(Stored(), Texts{});
    EXPECT_TRUE(Store("/b"));
    DbRefresh();
    EXPECT_EQ(Stored(), Texts{"/b"});
}

TEST_F(SqliteState, VacuumGivesSpaceBack)
{
    ASSERT_EQ(DbBegin(DbOpen(DB_MEDIA)), 0);
    for (int i = 0; i < 2000; i++)
        ASSERT_TRUE(Store(OddPath("/" + std::to_string(i), 900).c_str()));
    ASSERT_EQ(DbCommit(DbOpen(DB_MEDIA)), 0);
    ASSERT_EQ(DbVacuum(DB_MEDIA), 0);
    struct stat full = {};
    ASSERT_EQ(stat(Scratch("/state/media.db").c_str(), &full), 0);
    ASSERT_GT(full.st_size, 1 << 20);
    ASSERT_EQ(DbRun(DbOpen(DB_MEDIA), "delete from directory"), 2000);
    ASSERT_EQ(DbVacuum(DB_MEDIA), 0);
    struct stat empty = {};
    ASSERT_EQ(stat(Scratch("/state/media.db").c_str(), &empty), 0);
    EXPECT_LT(empty.st_size, full.st_size / 4);
}

TEST_F(SqliteState, UnknownEngineIsRefused)
{
    WriteFile(Scratch("/etc/platform.conf"), "database = abacus\n");
    PlatformSettingsLoad(Scratch("/etc/platform.conf").c_str());
    EXPECT_EQ(DbOpen(DB_MEDIA), nullptr);
    ASSERT_EQ(syslog_lines.size(), 1u);
    EXPECT_EQ(syslog_lines[0], "nubodb: media database: cannot be opened: no such engine: abacus");
}
