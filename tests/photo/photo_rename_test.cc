// Renamed photos, folders and video notes.
#include "photo/photo_rename.h"

#include <gtest/gtest.h>

#include "common/features.h"
#include "photo/photo_test_support.h"

static std::string Opened(int table, const std::string &condition)
{
    return "PhotoInfoDBOpen " + std::to_string(table) + " path [" + condition + "] (null) 0";
}

static FakeRow PathRow(const std::string &path)
{
    return {{"path", path}};
}

static const Lines GET_FAILED = {"photo_rename (#) Error occurred, failed to get records."};

TEST(PhotoRename, EmptyPathsAreRefused)
{
    EXPECT_EQ(PhotoIndexRename(nullptr, "/a", 0), -1);
    EXPECT_EQ(PhotoIndexRename("/a", nullptr, 0), -1);
    EXPECT_EQ(PhotoIndexRename("", "/a", 0), -1);
    EXPECT_EQ(PhotoIndexRename("/a", "", 0), -1);
    EXPECT_EQ(log_lines, Lines(4, "photo_rename (#) Bad parameter."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(PhotoRename, PhotoTakesItsRowAndDisplacesAStaleOne)
{
    platform.queries = {{PathRow("/v/photo/x.jpg"), PathRow("/v/photo/x.jpg.png")}};
    EXPECT_EQ(PhotoIndexRename("/v/photo/y.jpg", "/v/photo/x.jpg", 0), 0);
    EXPECT_EQ(platform.calls,
              (Lines{Opened(0, "path like '/v/photo/x.jpg%'"), "PhotoInfoDBDelete /v/photo/y.jpg",
                     "NUBOUpdatePhotoPath /v/photo/x.jpg;/v/photo/x.jpg.png; /v/photo/y.jpg "
                     "/v/photo/x.jpg",
                     "PhotoInfoDBClose"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoRename, PhotoRenamedToAnotherKindLosesItsRowAndReportsFailure)
{
    for (const char *name : {"/v/photo/x.txt", "/v/photo/x.mp4"}) {
        platform.calls.clear();
        platform.queries = {{PathRow("/v/photo/x.jpg")}};
        EXPECT_EQ(PhotoIndexRename(name, "/v/photo/x.jpg", 0), -1);
        EXPECT_EQ(platform.calls, (Lines{Opened(0, "path like '/v/photo/x.jpg%'"),
                                         "PhotoInfoDBDelete /v/photo/x.jpg", "PhotoInfoDBClose"}));
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoRename, FolderMovesWhatIsBelowItAlone)
{
    std::string folder = Scratch("/volume1/photo/new.2020");  // a dot does not make it a file
    MakeFolder(folder);
    platform.queries = {{PathRow("/v/photo/old/a.jpg")}};
    EXPECT_EQ(PhotoIndexRename(folder.c_str(), "/v/photo/old", 1), 0);
    EXPECT_EQ(platform.calls, (Lines{Opened(0, "path like '/v/photo/old/%'"),
                                     "NUBOUpdatePhotoPath /v/photo/old/a.jpg; " + folder + " /v/photo/old",
                                     "PhotoInfoDBClose"}));
}

TEST(PhotoRename, PhotoThatWasNeverIndexedIsAdded)
{
    std::string path = Scratch("/volume1/photo/y.jpg");
    WriteFile(path, "x");
    EXPECT_EQ(PhotoIndexRename(path.c_str(), "/v/photo/x.jpg", 0), 0);
    EXPECT_EQ(platform.calls, (Lines{Opened(0, "path like '/v/photo/x.jpg%'"), "PhotoInfoDBSave " + path + " 1",
                                     "PhotoInfoDBClose"}));
    EXPECT_EQ(platform.open_handles, 0);
}

TEST(PhotoRename, OtherFileThatWasNeverIndexedIsAFailure)
{
    EXPECT_EQ(PhotoIndexRename("/v/photo/y.mp4", "/v/photo/x.mp4", 0), -1);
    EXPECT_EQ(platform.calls, (Lines{Opened(0, "path like '/v/photo/x.mp4%'"), "PhotoInfoDBClose"}));
}

TEST(PhotoRename, FolderThatWasNeverIndexedIsWalked)
{
    // The walk itself asks for the share's place in the path, which the scratch folder does not have.
    std::string folder = Scratch("/volume1/photo/new");
    WriteFile(folder + "/a.jpg", "x");
    EXPECT_EQ(PhotoIndexRename(folder.c_str(), "/v/photo/old", 1), 0);
    EXPECT_EQ(platform.calls, (Lines{Opened(0, "path like '/v/photo/old/%'"), "PhotoInfoDBClose"}));
}

TEST(PhotoRename, FailuresAreReported)
{
    platform.next_results["PhotoInfoDBOpen"] = {-1};
    EXPECT_EQ(PhotoIndexRename("/b.jpg", "/a.jpg", 0), -1);
    EXPECT_EQ(log_lines, GET_FAILED);

    log_lines.clear();
    platform.queries = {{PathRow("/a.jpg")}};
    platform.results["NUBOUpdatePhotoPath"] = -1;
    EXPECT_EQ(PhotoIndexRename("/b.jpg", "/a.jpg", 0), -1);
    EXPECT_EQ(log_lines, Lines{"photo_rename (#) Failed to rename to new path."});

    for (const char *escape : {"NUBODBEscapeString", "NUBODBEscapeBackslash"}) {
        log_lines.clear();
        platform.next_results[escape] = {-1};
        EXPECT_EQ(PhotoIndexRename("/b.jpg", "/a.jpg", 0), -1);
        EXPECT_EQ(log_lines, Lines{"photo_rename (#) Failed to escape condition."});
    }
    EXPECT_EQ(platform.open_handles, 0);
}

TEST(PhotoRename, LongestPathIsCutInTheCondition)
{
    std::string path = "/" + std::string(4090, '\'') + ".jpg";
    (void)PhotoIndexRename("/b.mp4", path.c_str(), 0);
    std::string call = platform.calls.at(0);
    EXPECT_LE(call.size(), strlen("PhotoInfoDBOpen 0 path [] (null) 0") + 4095);
    EXPECT_EQ(std::count(call.begin(), call.end(), '\'') % 2, 1);
}

TEST(VideoNotes, OnlyTheTwoTablesAndWholePaths)
{
    for (int table : {-1, 0, 3, 4})
        EXPECT_EQ(PhotoIndexRenameVideoNotes(table, "/b", "/a"), -1);
    EXPECT_EQ(PhotoIndexRenameVideoNotes(1, "", "/a"), -1);
    EXPECT_EQ(PhotoIndexRenameVideoNotes(1, "/b", ""), -1);
    EXPECT_EQ(PhotoIndexRenameVideoNotes(1, nullptr, "/a"), -1);
    EXPECT_EQ(PhotoIndexRenameVideoNotes(2, "/b", nullptr), -1);
    EXPECT_EQ(log_lines, Lines(8, "photo_rename (#) Bad parameter."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(VideoNotes, EveryRowMovesFromTheFirstOccurrenceOfTheOldPath)
{
    static constexpr const char *tables[] = {nullptr, "video_desc", "video_comment"};
    for (int table : {1, 2}) {
        platform.calls.clear();
        platform.queries = {
            {PathRow("/v/a.flv"), PathRow("/elsewhere"), PathRow("/v/a.flv/v/a.flv"), FakeRow{}}};
        EXPECT_EQ(PhotoIndexRenameVideoNotes(table, "/w/it's.flv", "/v/a.flv"), 0);
        std::string update = std::string("NUBODBExecute Update ") + tables[table] + " set path = '";
        EXPECT_EQ(
            platform.calls,
            (Lines{Opened(table, "path like '/v/a.flv%'"), update + "/w/it''s.flv' where path = '/v/a.flv'",
                   update + "/w/it''s.flv/v/a.flv' where path = '/v/a.flv/v/a.flv'", "PhotoInfoDBClose"}));
    }
}

TEST(VideoNotes, NothingToMoveIsAFailure)
{
    EXPECT_EQ(PhotoIndexRenameVideoNotes(1, "/b", "/a"), -1);
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(platform.open_handles, 0);
}

TEST(VideoNotes, FailedStatementStopsAndIsReported)
{
    platform.queries = {{PathRow("/a1"), PathRow("/a2")}};
    platform.results["NUBODBExecute"] = -1;
    EXPECT_EQ(PhotoIndexRenameVideoNotes(2, "/b", "/a"), -1);
    EXPECT_EQ(CallsOf("NUBODBExecute").size(), 1u);
    EXPECT_EQ(log_lines,
              Lines{"photo_rename (#) Failed to exec [Update video_comment set path = '/b1' where path "
                    "= '/a1'] (fake error)"});
    platform.results["PhotoInfoDBOpen"] = -1;
    log_lines.clear();
    EXPECT_EQ(PhotoIndexRenameVideoNotes(2, "/b", "/a"), -1);
    EXPECT_EQ(log_lines, GET_FAILED);
    EXPECT_EQ(platform.open_handles, 0);
}

TEST(VideoNotes, StatementHoldsTheLongestPaths)
{
    std::string old_path = "/" + std::string(4094, '\'');
    std::string new_path = "/" + std::string(4094, 'n');
    platform.queries = {{PathRow(old_path)}};
    EXPECT_EQ(PhotoIndexRenameVideoNotes(1, new_path.c_str(), old_path.c_str()), 0);
    EXPECT_EQ(CallsOf("NUBODBExecute"), Lines{"NUBODBExecute Update video_desc set path = '" + new_path +
                                              "' where path = '/" + std::string(8188, '\'') + "'"});
}
