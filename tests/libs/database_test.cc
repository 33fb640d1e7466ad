// Child processes, and queries as texts.
#include "libs/database_test.h"

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include "libs/syslog_capture.h"

void DatabaseTest::SetUp()
{
    DbClose();
    syslog_lines.clear();
}

void DatabaseTest::TearDown()
{
    DbClose();
}

Texts ColumnOf(NuboDbHandle *handle, const char *column)
{
    if (!handle)
        return {"(failed)"};
    Texts texts;
    while (NUBODBFetchRow(handle->result, &handle->row) == 0) {
        const char *text = NUBODBFetchField(handle->result, handle->row, column);
        texts.emplace_back(text ? text : "(null)");
    }
    EXPECT_EQ(handle->row_count, static_cast<int>(texts.size()));
    DbHandleClose(handle);
    return texts;
}

Texts Query(DbName database, const std::string &sql, const char *column)
{
    NuboDbConnection *connection = DbOpen(database);
    NuboDbResult *result = nullptr;
    if (!connection || NUBODBExecute(connection, sql.c_str(), &result) < 0)
        return {"(failed)"};
    auto *handle = new NuboDbHandle{connection, result, -1, DbRowCount(result)};
    return ColumnOf(handle, column);
}

void RunAndKill(const std::function<void()> &work)
{
    DbClose();  // a connection must not be used on both sides of a fork
    pid_t child = fork();
    if (child == 0) {
        work();
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

static constexpr int NOT_ALLOWED = 77;

bool RunInOwnMounts(const std::function<void()> &work)
{
    DbClose();
    pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNS) < 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0)
            _exit(NOT_ALLOWED);
        work();
        fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == NOT_ALLOWED)
        return false;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
    return true;
}

std::string OddPath(const std::string &folder, size_t length)
{
    std::string path = folder + "/";
    for (unsigned value = 1; path.size() < length; value = value % 255 + 1)
        path.push_back(value == '/' ? '.' : static_cast<char>(value));
    return path;
}

std::string Quoted(const std::string &text)
{
    std::string out(2 * text.size() + 1, '\0');
    EXPECT_EQ(NUBODBEscapeString(out.data(), text.c_str(), static_cast<int>(text.size())), 0);
    out.resize(strlen(out.c_str()));
    return out;
}

std::string LikeQuoted(const std::string &text)
{
    std::string quoted = Quoted(text);
    std::string out(3 * quoted.size() + 1, '\0');
    EXPECT_EQ(NUBODBEscapeBackslash(out.data(), static_cast<int>(out.size()), quoted.c_str()), 0);
    out.resize(strlen(out.c_str()));
    return out;
}
