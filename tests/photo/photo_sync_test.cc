// The comparison of the share with the database, on real folders.
#include "photo/photo_sync.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <chrono>

#include "photo/photo_share.h"

using PhotoSync = PhotoShare;

static FakeRow PathRow(const std::string &path)
{
    return {{"path", path}};
}

static Lines Opened(const std::string &dir)
{
    std::string condition = "path [path like '" + dir + "/%' and path not like '" + dir + "/%/%'] path asc 0";
    return {"PhotoInfoDBOpen 0 " + condition, "MediaInfoDBOpen 1 " + condition, "PhotoInfoDBClose",
            "PhotoInfoDBClose"};
}

static Lines operator+(Lines a, const Lines &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

static Lines Added(const std::string &path)
{
    return {"MediaInfoDBSave 2 " + path, "PhotoInfoDBSave " + path + " 1"};
}

static Lines SeenAgain(const std::string &path)
{
    return {"PhotoInfoDBSave " + path + " 5"};
}

static const Lines INIT = {"NUBOPhotoInitAllRows"};
static const Lines SWEEP = {"NUBOPhotoDeleteNoUpdateRows"};

TEST_F(PhotoSync, EmptyShareSweepsEveryRow)
{
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(platform.calls, INIT + SWEEP);
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(PhotoSync, SeenAndNewFilesEachInReverseOrder)
{
    std::string a = File("a.jpg"), b = File("b.jpg"), c = File("c.jpg"), d = File("d.jpg");
    platform.queries = {{PathRow(b), PathRow(d), PathRow(root + "/gone.jpg")}, {}};
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(platform.calls, INIT + Opened(root) + SeenAgain(d) + SeenAgain(b) + Added(c) + Added(a) + SWEEP);
    EXPECT_EQ(platform.open_handles, 0);
}

TEST_F(PhotoSync, VideosOfTheMediaDatabaseAreKnownToo)
{
    std::string photo = File("a.jpg"), video = File("b.mp4");
    platform.queries = {{PathRow(photo)}, {PathRow(video)}};
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(platform.calls, INIT + Opened(root) + Lines{"NUBOIndexPhotoUpdateVideoStatus " + video} +
                                  SeenAgain(photo) + SWEEP);
}

TEST_F(PhotoSync, VideoQueryThatFailsIsIgnored)
{
    std::string photo = File("a.jpg");
    platform.queries = {{PathRow(photo)}};
    platform.results["MediaInfoDBOpen"] = -1;
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(CallsOf("PhotoInfoDBSave"), SeenAgain(photo));
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(PhotoSync, PhotoQueryThatFailsSkipsTheFolderAndGoesOn)
{
    std::string inner = File("x/b.jpg");
    File("a.jpg");
    platform.next_results["PhotoInfoDBOpen"] = {-1};
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(CallsOf("PhotoInfoDBSave"), Lines{"PhotoInfoDBSave " + inner + " 1"});
    EXPECT_EQ(log_lines, Lines{"photo_sync (#) Error occurred, failed to get records."});
    EXPECT_EQ(platform.calls.back(), SWEEP[0]);
}

TEST_F(PhotoSync, FilesThatTheMediaSideRefusesGoToTheConverter)
{
    std::string path = File("a.jpg");
    platform.results["MediaInfoDBSave"] = -1;
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(CallsOf("PhotoInfoDBSave"), Lines{});
    EXPECT_EQ(CallsOf("NLIBExec"),
              Lines{std::string("NLIBExec ") + VIDEO_CONVERTER_PROGRAM + " -f " + path + " (null) (null)"});
}

TEST_F(PhotoSync, HiddenFilesAttributesAndTheRecycleBinAreLeftOut)
{
    for (const char *name : {".hidden.jpg", "noextension", "@eaDir/a.jpg", "my@eaDir.d/a.jpg", "#recycle/a.jpg",
                             "#recycle/deep/a.jpg", ".folder/a.jpg"})
        File(name);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    // The folder with a dot is listed among the files, and recorded as a folder.
    EXPECT_EQ(platform.calls,
              INIT + Opened(root) + Lines{"MediaInfoDBDirSave " + root + "/my@eaDir.d"} + SWEEP);

    std::string deep = File("x/#recycle/a.jpg");  // a recycle bin only directly below the share
    platform.calls.clear();
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(CallsOf("PhotoInfoDBSave"), Lines{"PhotoInfoDBSave " + deep + " 1"});
}

TEST_F(PhotoSync, FoldersAreWalkedInOrderAndDepthFirst)
{
    std::string a = File("a/1.jpg"), deep = File("a/b/2.jpg"), z = File("z/3.jpg");
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(platform.calls, INIT + Opened(root + "/a") + Added(a) + Opened(root + "/a/b") + Added(deep) +
                                  Opened(root + "/z") + Added(z) + SWEEP);
}

TEST_F(PhotoSync, OneFolderIsNeitherUnmarkedNorSwept)
{
    std::string path = File("x/a.jpg");
    EXPECT_EQ(PhotoIndexSyncDir((root + "/x").c_str()), 0);
    EXPECT_EQ(platform.calls, Opened(root + "/x") + Added(path));
    platform.calls.clear();
    EXPECT_EQ(PhotoIndexSyncDir((root + "/#recycle").c_str()), 0);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(PhotoSync, OddNamesAreQuotedAndFound)
{
    for (const std::string &name : OddNames()) {
        std::string path = File(name + "/" + name.substr(0, 200) + ".jpg");
        platform.calls.clear();
        platform.queries = {{PathRow(path)}, {}};
        EXPECT_EQ(PhotoIndexSyncDir((root + "/" + name).c_str()), 0);
        EXPECT_EQ(CallsOf("PhotoInfoDBSave"), SeenAgain(path)) << name;
        std::string query = CallsOf("PhotoInfoDBOpen").at(0);
        std::string literals = query.substr(query.find('['), query.rfind(']') - query.find('['));
        EXPECT_EQ(std::count(literals.begin(), literals.end(), '\'') % 2, 0) << query;
        std::filesystem::remove_all(root + "/" + name);
    }
}

TEST_F(PhotoSync, LinkToAFileIsNoFolder)
{
    std::string path = File("a.jpg");
    ASSERT_EQ(symlink("a.jpg", (root + "/link").c_str()), 0);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(platform.calls, INIT + Opened(root) + Added(path) + SWEEP);
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(PhotoSync, LinkThatLeadsBackEndsWithTheSystemsLimit)
{
    File("a.jpg");
    ASSERT_EQ(symlink(".", (root + "/loop").c_str()), 0);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    ASSERT_EQ(log_lines.size(), 1u);
    EXPECT_NE(log_lines[0].find(strerror(ELOOP)), std::string::npos);
}

TEST_F(PhotoSync, DeepTreeDoesNotExhaustTheStack)
{
    ASSERT_EQ(chdir(root.c_str()), 0);
    for (int depth = 0; depth < 2030; depth++) {  // a path of nearly 4095 bytes
        ASSERT_EQ(mkdir("d", 0700), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    WriteFile("./deep.jpg", "x");
    ASSERT_EQ(chdir(start.c_str()), 0);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), 0);
    EXPECT_EQ(CallsOf("PhotoInfoDBSave").size(), 1u);
}

TEST_F(PhotoSync, ShareThatCannotBeEnteredKeepsItsRows)
{
    std::filesystem::remove_all(root);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), -1);
    EXPECT_EQ(platform.calls, INIT);
    EXPECT_EQ(log_lines,
              Lines{"photo_sync (#) Failed to change to directory " + root + " (" + strerror(ENOENT) + ")"});
}

TEST_F(PhotoSync, FailuresOfTheBracketEndIt)
{
    platform.results["NUBOPhotoDeleteNoUpdateRows"] = -1;
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), -1);
    platform.results["NUBOPhotoInitAllRows"] = -1;
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), -1);
    std::filesystem::remove(PHOTO_SHARE_LINK);
    EXPECT_EQ(PhotoIndexSyncDir(nullptr), -1);
    EXPECT_EQ(log_lines, (Lines{"photo_sync (#) Failed to delete none updated rows.",
                                "photo_sync (#) Failed to set updated to 0 for all rows.",
                                std::string("photo_sync (#) Failed to read link of ") + PHOTO_SHARE_LINK}));
}

TEST_F(PhotoSync, FilesOfAFolderNeedTheirArguments)
{
    glob_t names = {};
    EXPECT_EQ(PhotoIndexSyncFiles(nullptr, &names), -1);
    EXPECT_EQ(PhotoIndexSyncFiles("", &names), -1);
    EXPECT_EQ(PhotoIndexSyncFiles("/a", nullptr), -1);
    EXPECT_EQ(log_lines, Lines(3, "photo_sync (#) Bad parameter. "));
    for (const char *escape : {"NUBODBEscapeString", "NUBODBEscapeBackslash"}) {
        log_lines.clear();
        platform.next_results[escape] = {-1};
        EXPECT_EQ(PhotoIndexSyncFiles("/a", &names), -1);
        EXPECT_EQ(log_lines, Lines{"photo_sync (#) Failed to escape condition."});
    }
}

// Comparing every name with every known path would be 1.6 billion comparisons here.
TEST_F(PhotoSync, LargeFolderIsComparedInProportion)
{
    static constexpr size_t count = 40000;
    Lines texts;
    std::vector<FakeRow> rows;
    for (size_t i = 0; i < count; i++) {
        texts.push_back(std::to_string(1000000 + i) + ".txt");
        rows.push_back(PathRow("/v/photo/" + texts.back()));
    }
    std::vector<char *> names;
    for (std::string &text : texts)
        names.push_back(text.data());
    glob_t listing = {};
    listing.gl_pathc = count;
    listing.gl_pathv = names.data();
    platform.queries = {rows, rows};
    auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(PhotoIndexSyncFiles("/v/photo", &listing), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}
