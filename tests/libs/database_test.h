// What the tests of the databases share: a fresh database for each, and queries as lists of texts.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "nubodb/database.h"

using Texts = std::vector<std::string>;

// Each test begins with connections to nothing; the first call makes the databases in the scratch folder.
class DatabaseTest : public testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;
};

// One column of a query that an open call answered; closes it. {"(failed)"} for null, "(null)" for a null field.
Texts ColumnOf(NuboDbHandle *handle, const char *column);

// One column of a statement's rows; {"(failed)"} on failure.
Texts Query(DbName database, const std::string &sql, const char *column);

// Runs `work` in a child process, which then dies by SIGKILL.
void RunAndKill(const std::function<void()> &work);

// Runs `work` in a child process that sees file systems of its own. False when this machine does not allow that; a
// failed expectation of the child is one of the caller.
bool RunInOwnMounts(const std::function<void()> &work);

// A path of `length` bytes with every byte but NUL and "/" in it, below `folder`.
std::string OddPath(const std::string &folder, size_t length);

// The text as the daemon puts it between quotes, and behind `like`.
std::string Quoted(const std::string &text);
std::string LikeQuoted(const std::string &text);
