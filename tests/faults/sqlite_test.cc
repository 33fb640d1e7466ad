// The files are locked, damaged, read-only or out of room: the daemon goes on, and when the fault is gone the rows are
// those of an undisturbed run.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>

#include "faults/faults.h"
#include "system/rows.h"

namespace fs = std::filesystem;

static constexpr char MEDIA[] = "/var/lib/nubo/media.db";

// Another program at the media database, until it is closed.
static sqlite3 *OtherBegin(const char *sql)
{
    sqlite3 *other = nullptr;
    EXPECT_EQ(sqlite3_open(MEDIA, &other), SQLITE_OK);
    sqlite3_busy_timeout(other, 10000);
    EXPECT_EQ(sqlite3_exec(other, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(other);
    return other;
}

TEST(SqliteFaults, ReaderWithAnOpenQueryDisturbsNothing)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    sqlite3 *reader = OtherBegin("begin; select count(*) from video");
    BatchEnd(BatchBegin(lines));
    EXPECT_EQ(LibraryLog(), Texts());
    ExpectRowsNow(rows);
    sqlite3_close(reader);
}

TEST(SqliteFaults, WriterThatKeepsItsLock)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    sqlite3 *writer = OtherBegin("begin immediate; delete from video");
    double start = Clock();
    BatchEnd(BatchBegin(lines));
    EXPECT_LT(Clock() - start, 90);  // three seconds for one statement, not for each of them
    EXPECT_TRUE(LogHas("database is locked"));
    sqlite3_close(writer);
    ExpectNothingLost(rows);
}

TEST(SqliteFaults, FullDisk)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    Ask("state size=300k");
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("full") || LogHas("No space left on device"));
    Ask("state size=64m");
    ExpectNothingLost(rows);
}

TEST(SqliteFaults, ReadOnlyFileSystem)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    Ask("state ro");
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("readonly database") || LogHas("Read-only file system"));
    Ask("state rw");
    ExpectNothingLost(rows);
}

// Nobody but the owner can say what a damaged file is worth: it is left as it is until it is moved away.
TEST(SqliteFaults, DamagedFile)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    std::string garbage(100000, 'x');
    FileWrite(MEDIA, garbage);
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("file is not a database"));
    EXPECT_EQ(FileRead(MEDIA), garbage);
    ASSERT_TRUE(fs::remove(MEDIA));
    ExpectNothingLost(rows);
}

TEST(SqliteFaults, DamagedInTheMiddle)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin(lines));
    sqlite3 *other = OtherBegin("pragma wal_checkpoint(truncate)");
    sqlite3_close(other);
    std::string content = FileRead(MEDIA);
    for (size_t at = 16384; at + 4096 <= content.size(); at += 4096)
        content.replace(at, 4096, 4096, '\xA5');
    FileWrite(MEDIA, content);
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("malformed"));
    for (const char *end : {"", "-wal", "-shm"})
        fs::remove(MEDIA + std::string(end));
    BatchEnd(BatchBegin(lines));
    ExpectNothingLost(rows);
}

TEST(SqliteFaults, NewerSchemaIsLeftAloneAndNothingIsLost)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    sqlite3_close(OtherBegin("pragma user_version = 99"));
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("its schema has version 99, newer than 1, which this program knows"));
    sqlite3_close(OtherBegin("pragma user_version = 1"));
    ExpectNothingLost(rows);
}
