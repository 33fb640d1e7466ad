// The server leaves, dies, stands still or has no room, in the middle of a batch: the daemon goes on, and when the fault
// is gone the rows are those of an undisturbed run.
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "faults/faults.h"
#include "system/rows.h"

static constexpr char SOCKET[] = "/run/postgresql/.s.PGSQL.5432";

static std::string ServerQuery(const std::string &sql)
{
    PGconn *link = PQconnectdb("host=/run/postgresql user=postgres dbname=postgres");
    PGresult *result = PQexec(link, sql.c_str());
    std::string text = PQntuples(result) > 0 ? PQgetvalue(result, 0, 0) : PQresultErrorMessage(result);
    PQclear(result);
    PQfinish(link);
    return text;
}

static void ConnectionsEnd()
{
    (void)ServerQuery(
        "select pg_terminate_backend(pid) from pg_stat_activity where application_name = 'nuboindex'");
}

TEST(PostgresqlFaults, ServerRestartedInABatch)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    for (const char *mode : {"fast", "immediate"}) {
        pid_t daemon = BatchBegin(lines);
        Pause(BatchSeconds() / 3);
        Ask(std::string("restart ") + mode);
        BatchEnd(daemon);
        ExpectNothingLost(rows);
        DatabasesRemove();
    }
    EXPECT_TRUE(LogHas("database: connection lost: "));
    EXPECT_TRUE(LogHas("changes that were not on the server's disk yet will be made again"));
}

TEST(PostgresqlFaults, ConnectionsCutAgainAndAgain)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    pid_t daemon = BatchBegin(lines);
    for (int i = 0; i < 10; i++) {
        Pause(BatchSeconds() / 10);
        ConnectionsEnd();
    }
    BatchEnd(daemon);
    ExpectNothingLost(rows);
}

TEST(PostgresqlFaults, SocketGoneForAWhile)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    pid_t daemon = BatchBegin(lines);
    Pause(BatchSeconds() / 4);
    std::string away = std::string(SOCKET) + ".away";
    ConnectionsEnd();
    std::filesystem::rename(SOCKET, away);
    Pause(1);
    std::filesystem::rename(away, SOCKET);
    BatchEnd(daemon);
    ExpectNothingLost(rows);
}

TEST(PostgresqlFaults, ServerDownForALongTime)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    SettingsAdd("database_wait = 1\n");
    Ask("halt fast");
    pid_t daemon = BatchBegin(lines);
    BatchEnd(daemon);
    EXPECT_TRUE(LogHas("database: cannot be opened: no connection: "));
    EXPECT_LT(RawLog().size(),
              1500u);  // a line for each change that the daemon itself reports, few of the library
    Finished status = ProgramRun({Built("bin/nuboindex"), "status"});
    EXPECT_NE(status.output.find("\nmissed           "), std::string::npos) << status.output;
    EXPECT_NE(ProgramRun({Built("bin/nuboindex"), "retry"}).status, 0);
    Ask("go");
    ExpectNothingLost(rows);
}

// The daemon asks itself for another batch when the database is back before the end.
TEST(PostgresqlFaults, WhatWasMissedIsMadeAgainByItself)
{
    FileWrite("/volume1/video/a.srt", "");
    FileWrite("/volume1/video/b.srt", "");
    SettingsAdd("database_wait = 1\n");
    Ask("halt fast");
    pid_t daemon = BatchBegin({"A:/volume1/video"});
    EXPECT_TRUE(SignalArrived(SIGUSR1, 60));
    EXPECT_TRUE(Exists("/var/lib/nubo/missed"));
    Ask("go");
    EXPECT_EQ(kill(daemon, SIGUSR1), 0);  // any producer's signal will do
    BatchEnd(daemon);
    EXPECT_EQ(Paths("video"), Texts({"/volume1/video/a.srt", "/volume1/video/b.srt"}));
    EXPECT_FALSE(Exists("/var/lib/nubo/missed"));
}

TEST(PostgresqlFaults, FrozenServer)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    SettingsAdd("database_wait = 1\ndatabase_answer_wait = 1\n");
    pid_t daemon = BatchBegin(lines);
    Pause(BatchSeconds() / 3);
    Ask("freeze");
    BatchEnd(daemon);
    Ask("thaw");
    ExpectNothingLost(rows);
    EXPECT_TRUE(LogHas("the server does not answer"));
}

TEST(PostgresqlFaults, FullDisk)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    SettingsAdd("database_wait = 1\n");
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    Ask("fill");
    BatchEnd(BatchBegin(lines));
    Ask("empty");
    Ask("restart immediate");
    ExpectNothingLost(rows);
    EXPECT_TRUE(LogHas("No space left on device") || LogHas("connection lost"))
        << testing::PrintToString(LibraryLog());
}

TEST(PostgresqlFaults, TableLockedBySomebodyElse)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    pid_t daemon = BatchBegin(lines);
    BatchEnd(daemon);
    std::string schema = FileRead("/etc/nubo/platform.conf");
    schema = schema.substr(schema.find("box = ") + 6);
    schema = schema.substr(0, schema.find('\n')) + "_media";
    PGconn *link = PQconnectdb("host=/run/postgresql user=postgres dbname=postgres");
    PQclear(PQexec(link, ("begin; delete from " + schema + ".video; lock table " + schema + ".video").c_str()));
    daemon = BatchBegin(lines);
    BatchEnd(daemon);
    EXPECT_TRUE(LogHas("canceling statement due to lock timeout"));
    PQfinish(link);
    ExpectNothingLost(rows);
}

// As a power failure ends both: what is not on the disk is in the work file.
TEST(PostgresqlFaults, ServerAndDaemonDieTogether)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    for (int round = 0; round < 3; round++) {
        pid_t daemon = BatchBegin(lines);
        Pause(BatchSeconds() / 3);
        Ask("freeze");
        EXPECT_EQ(DaemonEnd(daemon, SIGKILL), SIGKILL);
        Ask("thaw");
        Ask("restart immediate");
        ExpectNothingLost(rows);
        DatabasesRemove();
    }
}

// The server writes nothing down by itself for ten seconds. It dies at the moment of the signal.
TEST(PostgresqlFaults, BatchIsOnTheServersDiskBeforeAnybodyIsTold)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    (void)ServerQuery("checkpoint");
    int before = atoi(ServerQuery("select wal_sync from pg_stat_wal").c_str());
    pid_t daemon = BatchBegin(lines);
    EXPECT_TRUE(SignalArrived(SIGUSR1, 60));
    Ask("freeze");
    EXPECT_EQ(DaemonEnd(daemon, SIGKILL), SIGKILL);
    Ask("thaw");
    int after = atoi(ServerQuery("select wal_sync from pg_stat_wal").c_str());
    Ask("restart immediate");
    ExpectRowsNow(rows);
    std::cout << "flushes of the server's log in the batch: " << after - before << '\n';
    RecordProperty("flushes", after - before);
    EXPECT_LT(after - before, 40);  // two databases, their schemas and whatever the server does; 1,300 changes
}

TEST(PostgresqlFaults, NewerSchemaIsLeftAloneAndNothingIsLost)
{
    Texts lines = BatchLay();
    std::string rows = UndisturbedRows(lines);
    BatchEnd(BatchBegin({"A:/volume1/video/1"}));
    std::string conf = FileRead("/etc/nubo/platform.conf");
    std::string box = conf.substr(conf.find("box = ") + 6);
    std::string table = box.substr(0, box.find('\n')) + "_media.schema_version";
    (void)ServerQuery("update " + table + " set version = 99");
    BatchEnd(BatchBegin(lines));
    EXPECT_TRUE(LogHas("its schema has version 99, newer than 1, which this program knows"));
    (void)ServerQuery("update " + table + " set version = 1");
    ExpectNothingLost(rows);
}
