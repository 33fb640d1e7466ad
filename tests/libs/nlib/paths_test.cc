// Existence tests and the place of description files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/sdk.h"
#include "support/scratch.h"

TEST(Exists, FilesFoldersAndTheRest)
{
    WriteFile(Scratch("/file"), "12345");
    ASSERT_EQ(mkfifo(Scratch("/fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink(Scratch("/file").c_str(), Scratch("/link").c_str()), 0);
    ASSERT_EQ(symlink(Scratch("/etc").c_str(), Scratch("/folder_link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", Scratch("/dangling").c_str()), 0);
    static constexpr struct {
        const char *name;
        bool any, file, folder;
    } cases[] = {
        {"/file", true, true, false},        {"/fifo", true, true, false},
        {"/link", true, true, false},        {"/etc", true, false, true},
        {"/folder_link", true, false, true}, {"/dangling", false, false, false},
        {"/none", false, false, false},      {"/file/below", false, false, false},
    };
    for (const auto &c : cases) {
        std::string path = Scratch(c.name);
        EXPECT_EQ(BlNLIBFileExist(path.c_str()) != 0, c.any) << c.name;
        EXPECT_EQ(IsFileExist(path.c_str(), nullptr) != 0, c.file) << c.name;
        EXPECT_EQ(IsDirExist(path.c_str()) != 0, c.folder) << c.name;
    }
}

TEST(Exists, NullAndEmptyPathsAreNothing)
{
    uint64_t size = 7;
    for (const char *path : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_FALSE(BlNLIBFileExist(path));
        EXPECT_FALSE(IsFileExist(path, &size));
        EXPECT_FALSE(IsDirExist(path));
    }
    EXPECT_EQ(size, 7u);
}

TEST(Exists, SizesBeyondFourGibibytes)
{
    std::string path = Scratch("/sparse");
    WriteFile(path, "");
    ASSERT_EQ(truncate(path.c_str(), 5000000000), 0);
    uint64_t size = 0;
    EXPECT_TRUE(IsFileExist(path.c_str(), &size));
    EXPECT_EQ(size, 5000000000u);
}

TEST(EAPath, LiesInTheFolderBesideTheFile)
{
    static constexpr struct {
        const char *path;
        const char *key;
        const char *out;
    } cases[] = {
        {"/volume1/photo/a.jpg", "NUBOPHOTO:TITLE", "/volume1/photo/@eaDir/a.jpg@NUBOPHOTO.TITLE"},
        {"/volume1/photo/a.jpg", "NUBOPHOTO:DESC", "/volume1/photo/@eaDir/a.jpg@NUBOPHOTO.DESC"},
        {"/volume1/photo/album/", "NUBOPHOTO:PUBLIC", "/volume1/photo/@eaDir/album@NUBOPHOTO.PUBLIC"},
        {"/a", "K", "/@eaDir/a@K"},
        {"a.jpg", "K", "@eaDir/a.jpg@K"},
        {"/x/a:b@c", "A:B:C", "/x/@eaDir/a:b@c@A.B.C"},  // the file's own colon stays
    };
    for (const auto &c : cases) {
        char out[4095];
        EXPECT_EQ(NUBOEAPath(c.path, c.key, out, sizeof out), 0) << c.path;
        EXPECT_STREQ(out, c.out);
    }
}

TEST(EAPath, FailsForWhatHasNoSuchPath)
{
    char out[4095];
    EXPECT_NE(NUBOEAPath("", "K", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/", "K", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("///", "K", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/a", "", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/a", "../x", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/a", "x@y", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath(nullptr, "K", out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/a", nullptr, out, sizeof out), 0);
    EXPECT_NE(NUBOEAPath("/a", "K", nullptr, 10), 0);
    EXPECT_NE(NUBOEAPath("/a", "K", out, 0), 0);
}

TEST(EAPath, FitsExactlyOrFails)
{
    char out[16];
    int needed = sizeof "/@eaDir/a@K";
    EXPECT_EQ(NUBOEAPath("/a", "K", out, needed), 0);
    EXPECT_STREQ(out, "/@eaDir/a@K");
    EXPECT_NE(NUBOEAPath("/a", "K", out, needed - 1), 0);
    EXPECT_STREQ(out, "");
    std::string longest = "/" + std::string(4094, 'x');
    char big[4095];
    EXPECT_NE(NUBOEAPath(longest.c_str(), "NUBOPHOTO:TITLE", big, sizeof big), 0);
}

TEST(EAPath, CreatesNothing)
{
    WriteFile(Scratch("/photo/a.jpg"), "x");
    char out[4095];
    ASSERT_EQ(NUBOEAPath(Scratch("/photo/a.jpg").c_str(), "NUBOPHOTO:TITLE", out, sizeof out), 0);
    EXPECT_FALSE(IsDirExist(Scratch("/photo/@eaDir").c_str()));
}
